#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace tarn {

namespace asio = boost::asio;

/// Every asynchronous operation of the system is one of these.
template <typename T>
using Task = asio::awaitable<T>;

/// Completion token for library operations: errors of the wire come back as values, never as exceptions.
inline constexpr auto asValue = asio::as_tuple(asio::use_awaitable);

/// An executor that runs one handler at a time: a strand, or the executor of a one-thread context.
using SerialExecutor = asio::any_io_executor;

}  // namespace tarn

#pragma once

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// Copies bytes from one stream to the other until one of them ends.
template <typename From, typename To>
Task<void> pump(From& from, To& to) {
    std::array<char, 16384> bytes{};
    for (;;) {
        const auto [readError, size] = co_await from.async_read_some(asio::buffer(bytes), asValue);
        if (readError) {
            co_return;
        }
        const auto [writeError, written] =
            co_await asio::async_write(to, asio::buffer(bytes.data(), size), asValue);
        if (writeError) {
            co_return;
        }
    }
}

}  // namespace tarn::test

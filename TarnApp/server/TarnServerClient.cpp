#include "TarnServerClient.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <chrono>
#include <utility>
#include <variant>

namespace tarn {
namespace {

constexpr std::chrono::seconds signOutLimit{5};

}  // namespace

Task<bool> endsOnServer(std::shared_ptr<TarnServerClient> client, std::shared_ptr<Clock> clock) {
    using namespace asio::experimental::awaitable_operators;
    auto answer = client->logout();
    auto limit = sleepFor(std::move(clock), signOutLimit);
    const auto first = co_await (std::move(answer) || std::move(limit));
    const auto* const told = std::get_if<0>(&first);
    // A server that refuses the token has ended the sign-in already.
    co_return told != nullptr && (*told || told->error().meansSignedOut());
}

}  // namespace tarn

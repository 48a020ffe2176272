// Arbitrary messages into the event handler. The input is cut at newlines into the messages of one
// connection, so that what one leaves behind meets the next.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "TarnCore/realtime/ServerEventHandler.h"
#include "TarnPlatform/base/Log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarn;
    static const bool quiet = [] {
        setLogSink([](std::string_view) {});
        return true;
    }();
    static_cast<void>(quiet);
    DebugBudget::debugAllRemaining = 2;
    DebugBudget::debugDumpsRemaining = 2;

    std::size_t handedOn = 0;
    ServerEventHandler handler([&](std::vector<std::byte> pcm) { handedOn += pcm.size(); },
                               [&](TranscriptKind, std::string text, bool) { handedOn += text.size(); },
                               [&](TarnServerEvent event) { handedOn += event.message.size(); });
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty()) {
        const auto end = std::min(rest.find('\n'), rest.size());
        handler.handle(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    // Deltas add up within an utterance, so the whole may grow with the square of the input and no faster.
    if (handedOn > (size + 16) * (size + 16)) {
        std::abort();
    }
    return 0;
}

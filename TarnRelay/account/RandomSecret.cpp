#include "RandomSecret.h"

#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <span>

#include "TarnPlatform/net/Base64.h"

namespace tarn::relay {

Result<std::string> randomSecret() {
    std::array<unsigned char, 32> bits{};
    if (::RAND_bytes(bits.data(), static_cast<int>(bits.size())) != 1) {
        return failure(ErrorKind::system, "the system gives no random numbers");
    }
    auto text = base64Encode(std::as_bytes(std::span(bits)));
    std::ranges::replace(text, '+', '-');
    std::ranges::replace(text, '/', '_');
    text.erase(text.find('='));
    return text;
}

}  // namespace tarn::relay

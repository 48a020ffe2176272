#include "LocalizedOrder.h"

#include <unicode/ucol.h>

#include <cstdint>
#include <string>

#include "PreferredLanguages.h"

namespace tarn {

struct LocalizedOrder::Collator {
    UCollator* rules = nullptr;

    explicit Collator(const std::string& language) {
        UErrorCode status = U_ZERO_ERROR;
        rules = ucol_open(language.c_str(), &status);
        if (U_FAILURE(status)) {
            rules = nullptr;
            return;
        }
        // Accents make a difference, case does not.
        ucol_setStrength(rules, UCOL_SECONDARY);
    }
    ~Collator() { ucol_close(rules); }
    Collator(const Collator&) = delete;
    Collator& operator=(const Collator&) = delete;
};

LocalizedOrder::LocalizedOrder() {
    const auto languages = preferredLanguages();
    collator_ = std::make_unique<Collator>(languages.empty() ? "" : languages.front());
}

LocalizedOrder::~LocalizedOrder() = default;

int LocalizedOrder::compareCaseInsensitive(std::string_view first, std::string_view second) const {
    UErrorCode status = U_ZERO_ERROR;
    if (collator_->rules != nullptr) {
        const UCollationResult result =
            ucol_strcollUTF8(collator_->rules, first.data(), static_cast<std::int32_t>(first.size()),
                             second.data(), static_cast<std::int32_t>(second.size()), &status);
        if (U_SUCCESS(status)) {
            return result;
        }
    }
    return first.compare(second);
}

}  // namespace tarn

#pragma once

#include <memory>
#include <string_view>

namespace tarn {

/// Orders names as a reader expects them, without regard to case: by the Unicode collation rules of the first
/// of the preferred languages, and by those that hold for all languages where there is none. "alpha" and
/// "Alpha" are equal, "Äpfel" is between "Apfel" and "Birne" (in Swedish after "Z"). Bytes that are no UTF-8
/// count as unknown letters. Not thread-safe.
class LocalizedOrder {
public:
    LocalizedOrder();
    ~LocalizedOrder();
    LocalizedOrder(const LocalizedOrder&) = delete;
    LocalizedOrder& operator=(const LocalizedOrder&) = delete;

    /// Negative, zero or positive, as the first comes before, with or after the second.
    int compareCaseInsensitive(std::string_view first, std::string_view second) const;

private:
    struct Collator;

    std::unique_ptr<Collator> collator_;
};

}  // namespace tarn

#include "FormBody.h"

#include <boost/url/parse_query.hpp>
#include <cstddef>

#include "TarnPlatform/net/Http.h"

namespace tarn::relay {
namespace {

namespace urls = boost::urls;

constexpr std::size_t maxPairs = 16;

}  // namespace

Result<FormFields> parseForm(std::string_view text) {
    const auto parsed = urls::parse_query(urls::string_view(text.data(), text.size()));
    if (!parsed) {
        return failure(ErrorKind::invalidInput, "the form is not properly encoded");
    }
    if (parsed->size() > maxPairs) {
        return failure(ErrorKind::invalidInput, "the form has too many fields");
    }
    const urls::encoding_opts plusIsSpace(true);
    FormFields fields;
    for (const auto& pair : *parsed) {
        const bool isNew =
            fields.emplace(pair.key.decode(plusIsSpace), pair.value.decode(plusIsSpace)).second;
        // Of two values a check might read one and the action the other.
        if (!isNew) {
            return failure(ErrorKind::invalidInput, "a field is given twice");
        }
    }
    return fields;
}

bool isFormType(std::string_view contentType) {
    constexpr std::string_view form = "application/x-www-form-urlencoded";
    auto type = contentType.substr(0, contentType.find(';'));
    while (type.ends_with(' ') || type.ends_with('\t')) {
        type.remove_suffix(1);
    }
    return sameIgnoringCase(type, form);
}

}  // namespace tarn::relay

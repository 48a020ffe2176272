#include "Languages.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tarn {
namespace {

using Codes = std::vector<std::string>;

bool holds(const Codes& codes, std::string_view code) {
    return std::ranges::find(codes, code) != codes.end();
}

/// The wanted languages in the order of the pickers, so that the order of a server's list decides nothing.
template <typename IsWanted>
Codes offered(IsWanted isWanted) {
    Codes codes;
    for (const Language& language : Languages::supported) {
        if (isWanted(std::string(language.code))) {
            codes.emplace_back(language.code);
        }
    }
    return codes;
}

bool isOffered(const std::string& code) {
    return std::ranges::find(Languages::supported, code, &Language::code) != Languages::supported.end();
}

/// Returns "zh" for "zh_CN".
std::string codeOf(const std::string& locale) {
    return locale.substr(0, locale.find_first_of("_-"));
}

}  // namespace

std::optional<Codes> heardBy(const ServerLanguages& server) {
    if (server.hears.empty() && server.translates.empty()) {
        return std::nullopt;
    }
    return offered([&](const std::string& code) {
        return server.hears.empty() ? server.translates.contains(code) : holds(server.hears, code);
    });
}

std::optional<Codes> targetsOf(const ServerLanguages& server, const std::string& source) {
    if (server.translates.empty()) {
        return std::nullopt;
    }
    return offered([&](const std::string& code) {
        return std::ranges::any_of(server.translates, [&](const auto& from) {
            return (source.empty() || from.first == source) && holds(from.second, code);
        });
    });
}

std::optional<LanguagePair> firstPair(const ServerLanguages& server, const LanguageWish& wish) {
    const auto heard = heardBy(server);
    if (!heard) {
        return std::nullopt;
    }
    const bool isSourceChosen = wish.chosenSource && !wish.chosenSource->empty();
    const Codes sources = isSourceChosen ? Codes{*wish.chosenSource} : *heard;
    const auto canDo = [&](const std::string& source, const std::string& target) {
        const auto targets = targetsOf(server, source);
        return source != target && holds(sources, source) && (!targets || holds(*targets, target));
    };
    Codes wanted;
    if (wish.chosenTarget) {
        wanted.push_back(*wish.chosenTarget);
    } else {
        std::ranges::transform(wish.preferred, std::back_inserter(wanted), codeOf);
        std::erase_if(wanted, [](const std::string& code) { return !isOffered(code); });
    }
    for (const std::string& target : wanted) {
        for (const std::string& source : sources) {
            if (canDo(source, target)) {
                return LanguagePair{source, target};
            }
        }
    }
    if (wish.chosenTarget) {
        return std::nullopt;
    }
    if (canDo(wish.usual.source, wish.usual.target)) {
        return wish.usual;
    }
    for (const std::string& source : sources) {
        for (const Language& language : Languages::supported) {
            if (canDo(source, std::string(language.code))) {
                return LanguagePair{source, std::string(language.code)};
            }
        }
    }
    return std::nullopt;
}

}  // namespace tarn

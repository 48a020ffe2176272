#include "ApertiumTranslator.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "ApertiumText.h"
#include "TarnPlatform/base/Text.h"

namespace tarn::relay {
namespace {

constexpr std::size_t longestText = 65536;
constexpr std::size_t longestAnswer = 1 << 20;
/// Apertium's own text filter puts this behind a text, so that its rules see a sentence end.
constexpr std::string_view sentenceEnd = ".[]";

struct LanguageName {
    std::string_view apertium;
    std::string_view code;
};

// Clients use two-letter codes (ISO 639-1); Apertium names its languages by three letters, partly older ones.
constexpr std::array languageNames{
    LanguageName{"afr", "af"},    LanguageName{"arg", "an"},    LanguageName{"ast", "ast"},
    LanguageName{"bel", "be"},    LanguageName{"bre", "br"},    LanguageName{"bul", "bg"},
    LanguageName{"cat", "ca"},    LanguageName{"cym", "cy"},    LanguageName{"dan", "da"},
    LanguageName{"deu", "de"},    LanguageName{"eng", "en"},    LanguageName{"epo", "eo"},
    LanguageName{"eus", "eu"},    LanguageName{"fra", "fr"},    LanguageName{"glg", "gl"},
    LanguageName{"hbs", "hbs"},   LanguageName{"hbs_BS", "bs"}, LanguageName{"hbs_HR", "hr"},
    LanguageName{"hbs_SR", "sr"}, LanguageName{"hin", "hi"},    LanguageName{"ind", "id"},
    LanguageName{"isl", "is"},    LanguageName{"ita", "it"},    LanguageName{"kaz", "kk"},
    LanguageName{"mkd", "mk"},    LanguageName{"mlt", "mt"},    LanguageName{"msa", "ms"},
    LanguageName{"nld", "nl"},    LanguageName{"nno", "nn"},    LanguageName{"nob", "nb"},
    LanguageName{"oci", "oc"},    LanguageName{"pol", "pl"},    LanguageName{"por", "pt"},
    LanguageName{"ron", "ro"},    LanguageName{"rus", "ru"},    LanguageName{"sme", "se"},
    LanguageName{"slv", "sl"},    LanguageName{"spa", "es"},    LanguageName{"srd", "sc"},
    LanguageName{"swe", "sv"},    LanguageName{"tat", "tt"},    LanguageName{"tur", "tr"},
    LanguageName{"ukr", "uk"},    LanguageName{"urd", "ur"},
};

/// The code of one of Apertium's language names; nothing for a variant ("cat_valencia") or something else.
std::optional<std::string> codeOf(std::string_view name) {
    const auto* const known = std::ranges::find(languageNames, name, &LanguageName::apertium);
    if (known != languageNames.end()) {
        return std::string(known->code);
    }
    const bool plain =
        std::ranges::all_of(name, [](char character) { return character >= 'a' && character <= 'z'; });
    if (plain && (name.size() == 2 || name.size() == 3)) {
        return std::string(name);
    }
    return std::nullopt;
}

std::optional<std::pair<std::string, std::string>> pairOf(std::string_view mode) {
    const auto dash = mode.find('-');
    if (dash == std::string_view::npos) {
        return std::nullopt;
    }
    const auto source = codeOf(mode.substr(0, dash));
    const auto target = codeOf(mode.substr(dash + 1));
    if (!source || !target) {
        return std::nullopt;
    }
    return std::pair(*source, *target);
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/// The shell's pipeline for a mode, changed to answer text by text: every program gets -z, which makes it
/// flush at each NUL byte, and the generator -n, which leaves out its marks for unknown words. The program
/// `apertium` itself is not used: with its text filter it does not flush.
std::string pipelineOf(std::string recipe) {
    replaceAll(recipe, "$1", "-n");
    replaceAll(recipe, "$2", "");
    std::istringstream stages(recipe);
    std::string pipeline;
    std::string stage;
    while (std::getline(stages, stage, '|')) {
        const auto begin = stage.find_first_not_of(" \n\t");
        if (begin == std::string::npos) {
            continue;
        }
        const auto end = std::min(stage.find_first_of(" \n\t", begin), stage.size());
        pipeline +=
            (pipeline.empty() ? "" : " | ") + stage.substr(begin, end - begin) + " -z" + stage.substr(end);
    }
    return pipeline;
}

}  // namespace

ApertiumTranslator::ApertiumTranslator(const std::filesystem::path& modes, std::chrono::milliseconds limit,
                                       std::shared_ptr<Clock> clock) {
    std::error_code noFolder;
    for (const auto& entry : std::filesystem::directory_iterator(modes, noFolder)) {
        const auto pair =
            entry.path().extension() == ".mode" ? pairOf(entry.path().stem().string()) : std::nullopt;
        if (!pair || pair->first == pair->second) {
            continue;
        }
        std::ifstream file(entry.path());
        std::ostringstream recipe;
        recipe << file.rdbuf();
        const auto pipeline = pipelineOf(recipe.str());
        if (pipeline.empty()) {
            continue;
        }
        auto command = ChildCommand::shell(pipeline);
        // Under a locale that has not been generated the stages would end at once.
        command.environment = {{"LC_ALL", "C.UTF-8"}};
        pipelines_.try_emplace(*pair, std::make_unique<ChildConversation>(
                                          "the translator " + pair->first + " to " + pair->second,
                                          std::move(command), AnswerLimits{limit, limit}, clock));
    }
}

std::vector<std::pair<std::string, std::string>> ApertiumTranslator::pairs() const {
    std::vector<std::pair<std::string, std::string>> result;
    result.reserve(pipelines_.size());
    for (const auto& [pair, pipeline] : pipelines_) {
        result.push_back(pair);
    }
    return result;
}

Result<std::string> ApertiumTranslator::translate(const std::string& text, const std::string& source,
                                                  const std::string& target) {
    const auto pipeline = pipelines_.find({source, target});
    if (pipeline == pipelines_.end()) {
        return failure(ErrorKind::unavailable,
                       "no translator from " + source + " to " + target + " is installed");
    }
    if (!isUtf8(text)) {
        return failure(ErrorKind::invalidInput, "the text to translate is not UTF-8");
    }
    if (text.size() > longestText) {
        return failure(ErrorKind::invalidInput, "the text to translate is too long");
    }
    std::string question = toApertium(text, source);
    // A pipeline answers with the same NUL byte, which no text can hold, so the answer's end is certain.
    question.append(sentenceEnd);
    question.push_back('\0');
    std::string answer;
    const auto outcome = pipeline->second->ask([&](ChildProcess& child, auto deadline) -> Result<void> {
        if (auto written = child.write(question, deadline); !written) {
            return written;
        }
        auto line = child.readUntil('\0', longestAnswer, deadline);
        if (!line) {
            return std::unexpected(line.error());
        }
        answer = std::move(*line);
        return {};
    });
    if (!outcome) {
        return std::unexpected(outcome.error());
    }
    if (answer.ends_with(sentenceEnd)) {
        answer.resize(answer.size() - sentenceEnd.size());
    }
    return fromApertium(answer);
}

std::shared_ptr<const void> ApertiumTranslator::hold(const std::string& source,
                                                     const std::string& target) const {
    const auto pipeline = pipelines_.find({source, target});
    return pipeline == pipelines_.end() ? nullptr : pipeline->second->hold();
}

std::optional<Clock::Duration> ApertiumTranslator::endIdle(Clock::Duration limit) {
    std::optional<Clock::Duration> next;
    for (const auto& [pair, pipeline] : pipelines_) {
        if (const auto left = pipeline->endIdle(limit)) {
            next = std::min(*left, next.value_or(*left));
        }
    }
    return next;
}

void ApertiumTranslator::stop() {
    for (const auto& [pair, pipeline] : pipelines_) {
        pipeline->stop();
    }
}

}  // namespace tarn::relay

#include "EspeakSynthesiser.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <iterator>
#include <sstream>
#include <string_view>
#include <utility>

#include "TarnPlatform/audio/SoundFile.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/process/ChildProcess.h"

namespace tarn::relay {
namespace {

constexpr std::size_t longestText = 65536;
constexpr std::size_t mostOutput = std::size_t{256}
                                   << 20;  ///< bytes; the longest text at the slowest takes a third

/// Languages without a voice, each with the language whose voice its speakers understand best.
constexpr std::array<std::pair<std::string_view, std::string_view>, 4> substitutes{
    {{"gl", "pt"}, {"oc", "ca"}, {"ast", "es"}, {"nn", "nb"}}};

std::string lower(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char character) {
        return static_cast<char>(character < 128 ? std::tolower(character) : character);
    });
    return text;
}

int numberIn(std::string_view text) {
    int number = 99;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The text as it is given to the program, for which "[[" begins phoneme codes and a NUL byte ends the text.
std::string spoken(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '[' && result.ends_with('[')) {
            result.push_back(' ');
        }
        result.push_back(character == '\0' ? ' ' : character);
    }
    result.push_back('\n');
    return result;
}

}  // namespace

EspeakSynthesiser::EspeakSynthesiser(std::string program, std::chrono::milliseconds limit)
    : program_(std::move(program)), limit_(limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit_;
    auto child = ChildProcess::start({.arguments = {program_, "--voices"}, .environment = {}});
    auto table = child ? (*child)->readToEnd(1 << 20, deadline) : std::unexpected(child.error());
    if (!table) {
        logLine("[relay] no voices: " + program_ + ": " + table.error().description);
        return;
    }
    addVoices(*table);
}

bool EspeakSynthesiser::speaks(const std::string& language) const {
    return choicesFor(language) != nullptr;
}

std::optional<std::vector<std::string>> EspeakSynthesiser::voices(const std::string& language) const {
    std::vector<std::string> names;
    if (const auto* const choices = choicesFor(language)) {
        std::ranges::transform(*choices, std::back_inserter(names), &Choice::name);
    }
    return names;
}

Result<Speech> EspeakSynthesiser::speak(const std::string& text, const std::string& voice,
                                        const std::string& language) {
    if (text.size() > longestText) {
        return failure(ErrorKind::invalidInput, "the text to speak is too long");
    }
    const auto wished = voices_.find(lower(voice));
    const auto* const choices = choicesFor(language);
    if (wished == voices_.end() && choices == nullptr) {
        return failure(ErrorKind::unavailable, "no voice for " + language + " is installed");
    }
    if (text.find_first_not_of(" \n\r\t") == std::string::npos) {
        return Speech{};
    }
    const auto deadline = std::chrono::steady_clock::now() + limit_;
    const auto& file = wished != voices_.end() ? wished->second : choices->front().file;
    auto speech = run(file, text, deadline);
    if (!speech && speech.error().kind == ErrorKind::closed) {
        speech = run(file, text, deadline);
    }
    if (!speech) {
        speech.error().description = "the synthesiser " + program_ + " " + speech.error().description;
    }
    return speech;
}

Result<Speech> EspeakSynthesiser::run(const std::string& file, const std::string& text,
                                      std::chrono::steady_clock::time_point deadline) const {
    const auto child =
        ChildProcess::start({.arguments = {program_, "-v", file, "-b", "1", "--stdin", "--stdout"},
                             .environment = {},
                             .stop = stop_});
    if (!child) {
        return std::unexpected(child.error());
    }
    if (const auto written = (*child)->write(spoken(text), deadline); !written) {
        return std::unexpected(written.error());
    }
    (*child)->closeInput();
    const auto bytes = (*child)->readToEnd(mostOutput, deadline);
    if (!bytes) {
        return std::unexpected(bytes.error());
    }
    // The header was written before the length was known, so that only the exit status tells whether the
    // sound is complete.
    if (const auto finished = (*child)->finish(deadline); !finished) {
        return std::unexpected(finished.error());
    }
    auto sound = readWaveStream(*bytes);
    if (!sound) {
        return std::unexpected(sound.error());
    }
    if (sound->sampleRate < lowestSpeechRate || sound->sampleRate > highestSpeechRate) {
        return failure(ErrorKind::protocol, "wrote a WAV stream that is not 16-bit mono PCM");
    }
    return Speech{.rate = sound->sampleRate, .samples = std::move(sound->samples)};
}

/// Reads lines such as
///  2  en-us  --/M  English_(America)  gmw/en-US  (en 3)
/// where the last column holds further languages with the voice's priority for them.
void EspeakSynthesiser::addVoices(const std::string& table) {
    std::istringstream lines(table);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream columns(line);
        std::string priority;
        std::string language;
        std::string gender;
        std::string name;
        std::string file;
        if (!(columns >> priority >> language >> gender >> name >> file) || priority == "Pty") {
            continue;
        }
        offer(language, {file, numberIn(priority), name});
        for (const auto& label : {name, file, language}) {
            voices_.try_emplace(lower(label), file);
        }
        std::string others;
        std::getline(columns, others);
        std::ranges::replace(others, '(', ' ');
        std::ranges::replace(others, ')', ' ');
        std::istringstream pairs(others);
        while (pairs >> language >> priority) {
            offer(language, {file, numberIn(priority), name});
        }
    }
    for (const auto& [language, substitute] : substitutes) {
        if (const auto known = languages_.find(std::string(substitute)); known != languages_.end()) {
            languages_.try_emplace(std::string(language), known->second);
        }
    }
}

void EspeakSynthesiser::offer(const std::string& language, const Choice& choice) {
    auto& choices = languages_[lower(language)];
    choices.insert(std::ranges::upper_bound(choices, choice.priority, {}, &Choice::priority), choice);
}

const std::vector<EspeakSynthesiser::Choice>* EspeakSynthesiser::choicesFor(
    const std::string& language) const {
    const auto code = lower(language);
    auto known = languages_.find(code);
    if (known == languages_.end()) {
        known = languages_.find(code.substr(0, code.find_first_of("-_")));
    }
    return known != languages_.end() ? &known->second : nullptr;
}

}  // namespace tarn::relay

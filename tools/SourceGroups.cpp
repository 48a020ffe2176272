#include "SourceGroups.h"

#include <utility>

namespace tarn::cli {

SourceGroups::SourceGroups(CLI::App& app) : app_(app) {
    source_ = app.add_option("--source", sourceValues_,
                             "What to listen to: system, mic or application; up to four times")
                  ->check(CLI::IsMember({"system", "mic", "application"}))
                  ->allow_extra_args(false);
    addText("--app", "Identifier of the application to listen to (see 'apps')", &SourceOptions::app);
    addText("--device", "Identifier of the microphone (see 'devices')", &SourceOptions::device);
    CLI::Option* const processing = app.add_option("--voice-processing", voiceProcessingValues_,
                                                   "Echo cancellation of the microphone: on or off [on]")
                                        ->check(CLI::IsMember({"on", "off"}))
                                        ->allow_extra_args(false);
    apply_[processing] = [this](SourceOptions& source, std::size_t n) {
        source.voiceProcessing = voiceProcessingValues_[n] == "on";
    };
    addText("--from", "Language code of the speech; left out: detected, or what the server hears",
            &SourceOptions::sourceLang);
    addText("--to", "Language code of the translation [yours where the server has it, else en]",
            &SourceOptions::targetLang);
    addText("--voice", "Voice of the translated speech; left out: the service's own", &SourceOptions::voice);
    addText("--clone", "Clone the speaker's voice: none, once or always [none]", &SourceOptions::voiceClone)
        ->check(CLI::IsMember({"none", "once", "always"}));
    CLI::Option* const silence =
        app.add_option("--silence-ms", silenceValues_, "Milliseconds of silence that end an utterance [2000]")
            ->allow_extra_args(false);
    apply_[silence] = [this](SourceOptions& source, std::size_t n) { source.silenceMs = silenceValues_[n]; };
}

CLI::Option* SourceGroups::addText(const char* name, const char* help, std::string SourceOptions::* field) {
    auto& values = textValues_[name];
    CLI::Option* const option = app_.add_option(name, values, help)->allow_extra_args(false);
    const bool isLanguage = field == &SourceOptions::sourceLang || field == &SourceOptions::targetLang;
    apply_[option] = [&values, field, isLanguage](SourceOptions& source, std::size_t n) {
        source.*field = values[n];
        source.namesLanguages = source.namesLanguages || isLanguage;
    };
    return option;
}

std::vector<SourceOptions> SourceGroups::sources(const std::string& input) const {
    SourceOptions common;
    std::vector<SourceOptions> sources;
    std::map<const CLI::Option*, std::size_t> seen;
    for (const CLI::Option* const option : app_.parse_order()) {
        const std::size_t n = seen[option]++;
        if (option == source_) {
            sources.push_back(common);
            sources.back().capture = captureSource(sourceValues_[n]).value_or(CaptureSource::system);
        } else if (const auto found = apply_.find(option); found != apply_.end()) {
            found->second(sources.empty() ? common : sources.back(), n);
        }
    }
    if (!input.empty()) {
        SourceOptions recording = common;
        recording.input = input;
        sources.insert(sources.begin(), recording);
    }
    return sources;
}

}  // namespace tarn::cli

#include "PocketSphinxRecogniser.h"

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace tarn::relay {
namespace {

namespace fs = std::filesystem;

constexpr int sampleRate = 16000;
constexpr std::size_t stepSamples = sampleRate / 10;  // how often the hypothesis is looked at
constexpr std::size_t longestUtterance =
    std::size_t{sampleRate} * PocketSphinxFactory::longestUtteranceSeconds;
constexpr int frameMs = 10;

// A wider beam than the library's own finds more of the words, and a limit on what is followed in each frame
// pays for it: together they take less time, above all in the first frames of an utterance, where everything
// still fits the beam. On 60 synthetic sentences 15 words of 519 are wrong instead of 21.
constexpr double beam = 1e-60;
constexpr double wordBeam = 1e-40;
constexpr int mostActiveStates = 5000;

struct FreeDecoder {
    void operator()(ps_decoder_t* decoder) const { ps_free(decoder); }
};
struct FreeConfig {
    void operator()(cmd_ln_t* config) const { cmd_ln_free_r(config); }
};
using Decoder = std::unique_ptr<ps_decoder_t, FreeDecoder>;
using DecoderConfig = std::unique_ptr<cmd_ln_t, FreeConfig>;

/// Words only: drops the marks of noise ("[NOISE]", "<sil>", "++um++") and of pronunciations ("read(2)").
std::string wordsOf(std::string_view hypothesis) {
    std::string words;
    while (!hypothesis.empty()) {
        const auto end = std::min(hypothesis.find(' '), hypothesis.size());
        auto word = hypothesis.substr(0, end);
        hypothesis.remove_prefix(std::min(end + 1, hypothesis.size()));
        word = word.substr(0, word.find('('));
        if (word.empty() || word.front() == '[' || word.front() == '<' || word.front() == '+') {
            continue;
        }
        if (!words.empty()) {
            words += ' ';
        }
        words += word;
    }
    return words;
}

class PocketSphinxRecogniser final : public Recogniser {
public:
    PocketSphinxRecogniser(PocketSphinxFactory::Model model, int silenceMs)
        : model_(std::move(model)), silenceMs_(silenceMs) {}

    Result<void> process(std::span<const std::int16_t> samples, std::vector<Hypothesis>& heard) override {
        if (!decoder_) {
            if (auto made = makeDecoder(); !made) {
                decoder_.reset();
                return made;
            }
        }
        while (!samples.empty()) {
            const auto step = samples.first(std::min(samples.size(), stepSamples));
            samples = samples.subspan(step.size());
            if (auto done = processStep(step, heard); !done) {
                // The decoder's state cannot be trusted after a failure, so the next call makes a new one.
                decoder_.reset();
                inSpeech_ = false;
                return done;
            }
        }
        return {};
    }

    bool inSpeech() const override { return inSpeech_; }

private:
    Result<void> processStep(std::span<const std::int16_t> samples, std::vector<Hypothesis>& heard) {
        if (ps_process_raw(decoder_.get(), samples.data(), samples.size(), FALSE, FALSE) < 0) {
            return failure(ErrorKind::system, "the recogniser failed on a piece of sound");
        }
        const bool speech = ps_get_in_speech(decoder_.get()) != 0;
        if (speech) {
            inSpeech_ = true;
            utterance_ += samples.size();
        }
        if (inSpeech_ && (!speech || utterance_ >= longestUtterance)) {
            return finish(heard);
        }
        if (inSpeech_) {
            if (auto text = currentText(); !text.empty() && text != partial_) {
                partial_ = std::move(text);
                heard.push_back({.text = partial_, .final = false});
            }
        }
        return {};
    }

    Result<void> finish(std::vector<Hypothesis>& heard) {
        if (ps_end_utt(decoder_.get()) < 0) {
            return failure(ErrorKind::system, "the recogniser failed at the end of an utterance");
        }
        heard.push_back({.text = currentText(), .final = true});
        inSpeech_ = false;
        return startUtterance();
    }

    std::string currentText() const {
        std::int32_t score = 0;
        const char* hypothesis = ps_get_hyp(decoder_.get(), &score);
        return hypothesis == nullptr ? std::string() : wordsOf(hypothesis);
    }

    Result<void> startUtterance() {
        partial_.clear();
        utterance_ = 0;
        if (ps_start_utt(decoder_.get()) < 0) {
            return failure(ErrorKind::system, "the recogniser cannot start an utterance");
        }
        return {};
    }

    Result<void> makeDecoder() {
        // The library keeps its log in a variable of the process, which every decoder writes to: it is set
        // once, and not by a decoder's own settings, which would close it under the others.
        static std::once_flag silenced;
        std::call_once(silenced, [] { err_set_logfp(nullptr); });
        // Some settings that the library reads while it loads a model are global as well.
        static std::mutex mutex;
        const std::lock_guard lock(mutex);
        const auto silenceFrames = std::to_string(silenceMs_ / frameMs);
        const DecoderConfig config(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", model_.acoustic.c_str(),
                                               "-dict", model_.words.c_str(), "-lm", model_.language.c_str(),
                                               "-vad_postspeech", silenceFrames.c_str(), nullptr));
        if (!config) {
            return failure(ErrorKind::unavailable, "the recogniser refuses its settings");
        }
        cmd_ln_set_float_r(config.get(), "-beam", beam);
        cmd_ln_set_float_r(config.get(), "-wbeam", wordBeam);
        cmd_ln_set_int_r(config.get(), "-maxhmmpf", mostActiveStates);
        decoder_.reset(ps_init(config.get()));
        if (!decoder_) {
            return failure(ErrorKind::unavailable, "the recogniser cannot read its model " + model_.acoustic);
        }
        if (ps_start_stream(decoder_.get()) < 0) {
            return failure(ErrorKind::system, "the recogniser cannot start");
        }
        return startUtterance();
    }

    const PocketSphinxFactory::Model model_;
    const int silenceMs_;
    Decoder decoder_;
    bool inSpeech_ = false;
    std::size_t utterance_ = 0;  ///< samples since its beginning
    std::string partial_;        ///< last reported
};

bool beginsWith(const fs::path& file, std::initializer_list<std::string_view> marks) {
    std::string beginning(24, '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
    return std::ranges::any_of(marks, [&](std::string_view mark) { return beginning.starts_with(mark); });
}

/// The model of a folder, where it is complete. The library exits the whole process over some files that it
/// cannot read, so their beginnings are checked here first.
std::optional<PocketSphinxFactory::Model> modelIn(const fs::path& folder) {
    std::error_code error;
    PocketSphinxFactory::Model model{.acoustic = folder / folder.filename(), .words = {}, .language = {}};
    if (!beginsWith(fs::path(model.acoustic) / "mdef", {"BMDF", "FDMB", "0."})) {
        return std::nullopt;
    }
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const auto name = entry.path().filename().string();
        if (name.ends_with(".dict")) {
            model.words = entry.path();
        } else if (name.ends_with(".lm.bin") && !name.contains("phone") &&
                   beginsWith(entry.path(), {"Trie Language Model"})) {
            model.language = entry.path();
        }
    }
    if (model.words.empty() || model.language.empty()) {
        return std::nullopt;
    }
    return model;
}

}  // namespace

PocketSphinxFactory::PocketSphinxFactory(const fs::path& models) {
    std::error_code error;
    std::vector<fs::path> folders;
    for (const auto& entry : fs::directory_iterator(models, error)) {
        folders.push_back(entry.path());
    }
    std::ranges::sort(folders);  // so that of several models of a language it is always the same one
    for (const auto& folder : folders) {
        const auto name = folder.filename().string();
        if (auto model = modelIn(folder)) {
            models_.try_emplace(name.substr(0, name.find_first_of("-_")), std::move(*model));
        }
    }
}

std::vector<std::string> PocketSphinxFactory::languages() const {
    std::vector<std::string> codes;
    codes.reserve(models_.size());
    for (const auto& [code, model] : models_) {
        codes.push_back(code);
    }
    return codes;
}

Result<std::unique_ptr<Recogniser>> PocketSphinxFactory::make(const std::string& language, int silenceMs) {
    const auto found = models_.find(language);
    if (found == models_.end()) {
        return failure(ErrorKind::unavailable, "no model is installed that recognises " + language);
    }
    return std::make_unique<PocketSphinxRecogniser>(found->second, silenceMs);
}

}  // namespace tarn::relay

#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Recogniser.h"

namespace tarn::relay {

/// Recognises speech with PocketSphinx, in the languages whose models are installed as folders such as
/// `en-us`, each holding an acoustic model of the folder's name, a dictionary and a language model.
///
/// A recogniser takes about 0.4 s and 100 MiB to make, most of it in the first call of `process` (which may
/// be one without samples), so that it happens on the caller's worker. Its utterances end after `silenceMs`
/// of silence, or after 30 s, whichever comes first.
class PocketSphinxFactory : public RecogniserFactory {
public:
    static constexpr int longestUtteranceSeconds = 30;

    /// Looks for models in `models` once, here.
    explicit PocketSphinxFactory(const std::filesystem::path& models = "/usr/share/pocketsphinx/model");

    std::vector<std::string> languages() const override;
    /// At least 200 ms, because less would cut words in two.
    SilenceBounds silenceBounds() const override { return {.shortest = 200, .longest = 10000}; }
    Result<std::unique_ptr<Recogniser>> make(const std::string& language, int silenceMs) override;

    /// Files of one language's model.
    struct Model {
        std::string acoustic;
        std::string words;
        std::string language;
    };

private:
    std::map<std::string, Model> models_;  ///< by language code
};

}  // namespace tarn::relay

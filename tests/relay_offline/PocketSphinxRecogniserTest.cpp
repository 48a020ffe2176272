// The installed recogniser on synthetic speech.

#include "TarnRelay/offline/speech/PocketSphinxRecogniser.h"

#include <gmock/gmock.h>

#include <fstream>
#include <random>

#include "SpokenText.h"

namespace tarn::relay {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const std::string kCoffee = "i would like a cup of coffee and some water";

struct Heard {
    std::vector<std::string> finals;
    std::vector<double> finalSeconds;  ///< when each was heard, in received sound
    bool inSpeechAtEnd = false;
};

/// Feeds `samples` in pieces of 50 ms.
Heard listen(Recogniser& recogniser, std::span<const std::int16_t> samples) {
    Heard heard;
    std::size_t position = 0;
    while (!samples.empty()) {
        const auto piece = samples.first(std::min<std::size_t>(samples.size(), 800));
        samples = samples.subspan(piece.size());
        position += piece.size();
        std::vector<Hypothesis> changes;
        const auto done = recogniser.process(piece, changes);
        EXPECT_TRUE(done) << done.error().description;
        for (const auto& change : changes) {
            if (change.final) {
                heard.finals.push_back(change.text);
                heard.finalSeconds.push_back(static_cast<double>(position) / 16000);
            }
        }
    }
    heard.inSpeechAtEnd = recogniser.inSpeech();
    return heard;
}

std::unique_ptr<Recogniser> english(int silenceMs) {
    PocketSphinxFactory factory;
    auto made = factory.make("en", silenceMs);
    EXPECT_TRUE(made) << made.error().description;
    return std::move(*made);
}

class PocketSphinxSilence : public testing::TestWithParam<int> {};

TEST_P(PocketSphinxSilence, EndsASentenceWithinHalfASecondOfTheSilenceAskedFor) {
    const auto recogniser = english(GetParam());
    const auto asked = GetParam() / 1000.0;
    const auto speech = spoken("thank you very much for your help today");
    const auto heard = listen(*recogniser, speech + silence(asked + 1));
    ASSERT_THAT(heard.finals, Not(IsEmpty()));
    const auto lastWord = static_cast<double>(speech.size()) / 16000;
    EXPECT_GE(heard.finalSeconds.back(), lastWord + asked - 0.3);  // the file itself ends in silence
    EXPECT_LE(heard.finalSeconds.back(), lastWord + asked + 0.5);
    EXPECT_FALSE(heard.inSpeechAtEnd);
}

INSTANTIATE_TEST_SUITE_P(Milliseconds, PocketSphinxSilence, testing::Values(200, 500, 10000));

TEST(PocketSphinxRecogniser, CutsSpeechThatNeverPauses) {
    const auto recogniser = english(10000);
    Samples speech;
    while (speech.size() < std::size_t{16000} * 33) {
        speech = std::move(speech) + spoken(kCoffee);
    }
    const auto heard = listen(*recogniser, speech);
    ASSERT_THAT(heard.finalSeconds, testing::SizeIs(1));
    EXPECT_NEAR(heard.finalSeconds.front(), PocketSphinxFactory::longestUtteranceSeconds, 1);
    EXPECT_THAT(heard.finals.front(), testing::HasSubstr("coffee"));
    EXPECT_TRUE(heard.inSpeechAtEnd);
}

TEST(PocketSphinxRecogniser, HearsNoWordsInSilenceAndQuietNoise) {
    const auto recogniser = english(500);
    std::minstd_rand random(7);
    std::normal_distribution<double> noise(0, 20);
    auto sound = silence(4);
    for (std::size_t i = sound.size() / 2; i < sound.size(); ++i) {
        sound[i] = static_cast<std::int16_t>(noise(random));
    }
    EXPECT_THAT(listen(*recogniser, sound).finals, testing::Each(""));
}

TEST(PocketSphinxFactory, OffersOnlyCompleteModels) {
    PocketSphinxFactory installed;
    EXPECT_THAT(installed.languages(), Contains("en"));
    EXPECT_EQ(installed.make("tlh", 800).error().kind, ErrorKind::unavailable);

    // Each folder holds the named parts of the library's own model.
    const std::filesystem::path model = "/usr/share/pocketsphinx/model/en-us";
    const auto folder = std::filesystem::path(testing::TempDir()) / "tarn-models";
    for (const auto* name : {"fr", "it", "pt-br"}) {
        std::filesystem::create_directories(folder / name / name);
    }
    std::ofstream(folder / "it" / "it" / "mdef") << "not a model";
    std::filesystem::create_symlink(model / "en-us" / "mdef", folder / "pt-br" / "pt-br" / "mdef");
    for (const auto* name : {"it", "pt-br"}) {
        std::filesystem::create_symlink(model / "en-us.lm.bin", folder / name / "x.lm.bin");
        std::filesystem::create_symlink(model / "cmudict-en-us.dict", folder / name / "x.dict");
    }
    PocketSphinxFactory broken(folder);
    EXPECT_THAT(broken.languages(), ElementsAre("pt"));
    auto recogniser = broken.make("pt", 800);
    ASSERT_TRUE(recogniser);
    std::vector<Hypothesis> heard;
    EXPECT_EQ((*recogniser)->process(silence(0.1), heard).error().kind, ErrorKind::unavailable);
    std::filesystem::remove_all(folder);
    EXPECT_THAT(PocketSphinxFactory(folder).languages(), IsEmpty());
}

}  // namespace
}  // namespace tarn::relay

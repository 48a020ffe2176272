#include "SpeechMaterial.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "Stretcher.h"
#include "TarnPlatform/audio/RateConverter.h"
#include "TarnPlatform/audio/SoundFile.h"
#include "TarnRelay/offline/PocketSphinxRecogniser.h"

namespace tarn::bench {
namespace {

constexpr auto recordings = "/usr/share/pocketsphinx/test/data/librivox";
constexpr std::array voices{"awb", "slt", "rms"};
constexpr std::array sentences{
    "The meeting will begin in ten minutes.",
    "We are going to the market this afternoon.",
    "Could you open the window for me please?",
    "I would like a cup of coffee and some water.",
    "She has worked in this hospital for many years.",
    "Thank you very much for your help today.",
    "The weather is very nice this morning.",
    "The doctor will see you in half an hour.",
    "I bought a new phone at the shop yesterday.",
    "The children are playing in the garden behind the school.",
    "Please put the letters on the table near the door.",
    "My brother lives in a small house by the river.",
    "They will build a new bridge over the road next summer.",
    "He asked the teacher a question about the book.",
    "There is a good place to eat across the street.",
    "We need to talk about the plan before Friday.",
    "The bus to the city leaves every twenty minutes.",
    "I can not find the keys to my car.",
    "Her mother made dinner for the whole family.",
    "You should drink more water when the days are hot.",
    "The police closed the street after the accident.",
    "Most people in this town work at the factory.",
    "He has never been to another country before.",
    "The price of bread went up again last month.",
    "Turn left at the church and walk to the park.",
    "The company will open three new offices this year.",
    "I forgot to bring my coat and it is cold outside.",
    "Our friends are coming to visit us in December.",
    "The old man told us a long story about the war.",
    "It is better to ask twice than to lose your way.",
};

std::vector<float> readSound(const std::string& path, double& rate) {
    auto reader = SoundFileReader::open(path);
    if (!reader) {
        throw std::runtime_error(reader.error().description);
    }
    rate = reader->format().sampleRate;
    std::vector<float> samples;
    for (;;) {
        const auto buffer = reader->read(16384);
        if (!buffer || buffer->frameLength() == 0) {
            return samples;
        }
        const auto* first = buffer->floatChannelData();
        samples.insert(samples.end(), first, first + buffer->frameLength());
    }
}

Utterance utterance(std::string group, std::string text, const std::string& path) {
    double rate = 0;
    const auto samples = readSound(path, rate);
    return {std::move(group), std::move(text), atRate(samples, rate, dubRate)};
}

std::vector<std::string> words(const std::string& text) {
    std::string plain;
    for (const char c : text) {
        const auto letter = static_cast<unsigned char>(c);
        plain += std::isalpha(letter) != 0 || c == '\'' ? static_cast<char>(std::tolower(letter)) : ' ';
    }
    std::istringstream stream(plain);
    return {std::istream_iterator<std::string>(stream), {}};
}

}  // namespace

std::vector<float> atRate(std::span<const float> samples, double from, double to) {
    auto converter = RateConverter::make(from, to).value();
    const std::vector<float> tail(static_cast<std::size_t>(std::ceil(converter.delay() * from)));
    converter.write(samples);
    converter.write(tail);
    std::vector<float> all(static_cast<std::size_t>(static_cast<double>(samples.size()) * to / from) + 1000);
    all.resize(converter.read(all));
    const auto early = static_cast<std::ptrdiff_t>(converter.delay() * to);
    all.erase(all.begin(), all.begin() + std::min(early, std::ssize(all)));
    return all;
}

std::vector<Utterance> speechMaterial(int wanted) {
    std::vector<Utterance> material;
    std::ifstream transcription(std::string(recordings) + "/transcription");
    for (std::string line; std::getline(transcription, line);) {
        // "<s> words </s> (name)"
        const auto end = line.find("</s>");
        const auto name = line.find('(', end);
        if (end == std::string::npos || name == std::string::npos) {
            continue;
        }
        material.push_back(
            utterance("recordings", line.substr(3, end - 3),
                      recordings + ("/" + line.substr(name + 1, line.find(')', name) - name - 1)) + ".wav"));
    }
    const auto file =
        std::filesystem::temp_directory_path() / ("tarn-dub-speech-" + std::to_string(::getpid()) + ".wav");
    for (const auto* voice : voices) {
        for (const auto* sentence :
             std::span(sentences).first(std::clamp<std::size_t>(static_cast<std::size_t>(wanted), 0, 30))) {
            const auto command =
                std::string("flite -voice ") + voice + " -t '" + sentence + "' -o " + file.string();
            if (std::system(command.c_str()) != 0) {
                throw std::runtime_error("flite is needed: " + command);
            }
            material.push_back(utterance(voice, sentence, file.string()));
        }
    }
    std::filesystem::remove(file);
    return material;
}

WordCount wordErrors(const std::string& said, const std::string& heard) {
    const auto expected = words(said);
    const auto got = words(heard);
    std::vector<int> row(got.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        auto diagonal = std::exchange(row[0], static_cast<int>(i) + 1);
        for (std::size_t j = 0; j < got.size(); ++j) {
            const int best =
                std::min({row[j + 1] + 1, row[j] + 1, diagonal + (expected[i] == got[j] ? 0 : 1)});
            diagonal = std::exchange(row[j + 1], best);
        }
    }
    return {row.back(), static_cast<int>(expected.size())};
}

struct Hearing::State {
    std::unique_ptr<relay::Recogniser> recogniser;
};

Hearing::Hearing() : state_(std::make_unique<State>()) {
    relay::PocketSphinxFactory factory;
    auto made = factory.make("en", 800);
    if (!made) {
        throw std::runtime_error(made.error().description);
    }
    state_->recogniser = std::move(*made);
}
Hearing::Hearing(Hearing&&) noexcept = default;
Hearing::~Hearing() = default;

std::string Hearing::hear(std::span<const float> samples) {
    constexpr std::size_t piece = 1600;
    std::vector<std::int16_t> sound(16000 * 3 / 10);
    for (const float sample : atRate(samples, dubRate, 16000)) {
        sound.push_back(
            static_cast<std::int16_t>(std::lround(std::clamp(sample * 32768.0F, -32768.0F, 32767.0F))));
    }
    sound.resize(sound.size() + 16000 * 16 / 10);
    std::string text;
    for (std::span<const std::int16_t> rest(sound); !rest.empty();) {
        const auto block = rest.first(std::min(rest.size(), piece));
        rest = rest.subspan(block.size());
        std::vector<relay::Hypothesis> heard;
        if (const auto done = state_->recogniser->process(block, heard); !done) {
            throw std::runtime_error(done.error().description);
        }
        for (const auto& hypothesis : heard) {
            text += hypothesis.final ? hypothesis.text + " " : "";
        }
    }
    return text;
}

}  // namespace tarn::bench

#include "EchoSpeech.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "SpokenSentences.h"
#include "VoicePrograms.h"
#include "support/EchoRoom.h"

namespace tarn::bench {
namespace {

constexpr double pause = 0.8;  // seconds

constexpr const char* recordings = "/usr/share/pocketsphinx/test/data/librivox/";

constexpr const char* dub =
    "La reunión comenzará dentro de diez minutos. Por favor, envíeme el informe antes del fin de semana. "
    "Tenemos que hablar del dinero para el próximo año. Ella dejó las llaves sobre la mesa de la cocina. "
    "El tren para la ciudad sale a las siete de la mañana. ¿Puede decirme dónde está el hospital más "
    "cercano? "
    "Han trabajado en este problema durante mucho tiempo. Estaba lloviendo cuando llegamos a casa anoche. "
    "Los niños juegan en el jardín detrás de la casa. Quisiera tomar una taza de café con un poco de pan. "
    "Nadie sabe qué pasará después de las elecciones. Mi hermano va a comprar un coche nuevo en el verano.";

void scaleTo(std::vector<float>& samples, double rms) {
    const double scale = rms / test::rmsOf(samples);
    for (float& sample : samples) {
        sample = static_cast<float>(static_cast<double>(sample) * scale);
    }
}

void add(Talk& talk, std::vector<float> samples, const std::string& words, double rms) {
    scaleTo(samples, rms);
    talk.samples.insert(talk.samples.end(), samples.begin(), samples.end());
    talk.samples.resize(talk.samples.size() + static_cast<std::size_t>(pause * test::roomRate));
    talk.spoken.insert(talk.spoken.end(), samples.begin(), samples.end());
    talk.words += words + ' ';
}

// Lines such as: <s> he was not an ill disposed young man </s> (name)
void addRecordings(Talk& talk, double rms) {
    std::ifstream transcription(std::string(recordings) + "transcription");
    std::string line;
    while (std::getline(transcription, line)) {
        const auto begin = line.find("<s> ");
        const auto end = line.find(" </s> (");
        if (begin == std::string::npos || end == std::string::npos) {
            continue;
        }
        const auto name = line.substr(end + 7, line.rfind(')') - end - 7);
        add(talk, soundOf(recordings + name + ".wav", test::roomRate),
            line.substr(begin + 4, end - begin - 4), rms);
    }
    if (talk.words.empty()) {
        throw std::runtime_error("pocketsphinx-testdata is not installed");
    }
}

}  // namespace

Talk nearTalk(double rms) {
    Talk talk;
    addRecordings(talk, rms);
    const VoicePrograms voices;
    for (const auto& [voice, text] : spokenSentences()) {
        add(talk, voices.flite(voice, text, test::roomRate), text, rms);
    }
    return talk;
}

std::vector<float> farTalk(double seconds, double rms) {
    std::vector<float> all;
    const auto length = static_cast<std::size_t>(seconds * test::roomRate);
    const auto part = VoicePrograms().spanish(dub, test::roomRate);
    while (all.size() < length) {
        all.insert(all.end(), part.begin(), part.end());
    }
    all.resize(length);
    scaleTo(all, rms);
    return all;
}

}  // namespace tarn::bench

#include "EchoSpeech.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "VoicePrograms.h"
#include "support/EchoRoom.h"

namespace tarn::bench {
namespace {

constexpr double pause = 0.8;  // seconds

constexpr const char* recordings = "/usr/share/pocketsphinx/test/data/librivox/";

struct Sentence {
    const char* voice;
    const char* text;
};

constexpr Sentence sentences[] = {
    {"awb", "the meeting will begin in ten minutes"},
    {"slt", "please send me the report before the end of the week"},
    {"rms", "we need to talk about the money for next year"},
    {"awb", "she left the keys on the table in the kitchen"},
    {"slt", "the train to the city leaves at seven in the morning"},
    {"rms", "can you tell me where the nearest hospital is"},
    {"awb", "they have been working on this problem for a long time"},
    {"slt", "it was raining when we came home last night"},
    {"rms", "the children are playing in the garden behind the house"},
    {"awb", "i would like to have a cup of coffee and some bread"},
    {"slt", "nobody knows what will happen after the election"},
    {"rms", "my brother is going to buy a new car in the summer"},
    {"awb", "we should leave early because the traffic is bad on friday"},
    {"slt", "the doctor said that he needs to rest for a few days"},
    {"rms", "there is a small shop on the corner that sells fresh fruit"},
    {"awb", "could you open the window please it is very warm in here"},
    {"slt", "the old man told us a long story about the war"},
    {"rms", "i have never seen so many people in this street before"},
    {"awb", "the company will open a new office in the north next month"},
    {"slt", "he forgot to pay the bill and had to go back"},
    {"rms", "my sister works as a teacher in a school near the river"},
    {"awb", "if the weather is good we can walk to the beach tomorrow"},
    {"slt", "the police are looking for a man with a black hat"},
    {"rms", "please turn off the light when you leave the room"},
    {"awb", "they built the bridge more than a hundred years ago"},
    {"slt", "the price of oil has gone up again since last week"},
    {"rms", "i think that we have met before but i forgot your name"},
    {"awb", "she wants to study music at the university in the fall"},
    {"slt", "the last bus to the airport left half an hour ago"},
    {"rms", "do not forget to bring your passport and your ticket"},
    {"awb", "the government has promised to lower the taxes next year"},
    {"slt", "we found a very good restaurant at the end of the road"},
    {"rms", "the dog ran across the field and jumped over the fence"},
};

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
    for (const auto& [voice, text] : sentences) {
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

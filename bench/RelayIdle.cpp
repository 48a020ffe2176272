// What the relay's offline engine holds while clients come and go, and ten idle minutes later: memory of this
// process and of all that it has started. Time that nobody speaks in passes by a clock of the program's own.

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TarnRelay/offline/OfflineEngine.h"
#include "TarnRelay/offline/speech/PocketSphinxRecogniser.h"
#include "TarnRelay/offline/translate/ApertiumTranslator.h"
#include "TarnRelay/offline/translate/ChainTranslator.h"
#include "TarnRelay/offline/voice/EspeakSynthesiser.h"
#include "support/ManualClock.h"

namespace {

using namespace tarn;
using namespace tarn::relay;
using namespace std::chrono_literals;

/// The parent of every process that there is.
std::map<int, int> parents() {
    std::map<int, int> result;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "stat");
        std::string line;
        if (!std::getline(file, line)) {
            continue;
        }
        char state = 0;
        int parent = 0;
        std::istringstream(line.substr(line.rfind(')') + 1)) >> state >> parent;
        result.emplace(std::atoi(line.c_str()), parent);
    }
    return result;
}

std::vector<int> descendants() {
    const auto all = parents();
    std::vector<int> found;
    for (const auto& [process, unused] : all) {
        int ancestor = process;
        do {
            const auto known = all.find(ancestor);
            ancestor = known == all.end() ? 0 : known->second;
        } while (ancestor > 1 && ancestor != ::getpid());
        if (ancestor == ::getpid()) {
            found.push_back(process);
        }
    }
    return found;
}

struct Memory {
    double rss = 0;  ///< MiB
    double pss = 0;
};

Memory memoryOf(int process) {
    Memory memory;
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string name; file >> name;) {
        if (name == "Rss:" || name == "Pss:") {
            double kilobytes = 0;
            file >> kilobytes;
            (name == "Rss:" ? memory.rss : memory.pss) = kilobytes / 1024;
        }
    }
    return memory;
}

void show(const std::string& when) {
    const auto own = memoryOf(::getpid());
    auto all = own;
    const auto children = descendants();
    for (const int child : children) {
        const auto memory = memoryOf(child);
        all.rss += memory.rss;
        all.pss += memory.pss;
    }
    std::printf("| %s | %.0f | %.0f | %zu | %.0f | %.0f |\n", when.c_str(), own.rss, own.pss, children.size(),
                all.rss, all.pss);
    std::fflush(stdout);
}

/// Counts the events of one client.
class Tally final : public EventSink {
public:
    void send(std::string json) override {
        const std::lock_guard lock(mutex_);
        translated_ = translated_ || json.contains(events::translationDone);
        done_ = done_ || json.contains(events::responseDone);
        changed_.notify_all();
    }
    void close(std::uint16_t, std::string) override {}

    void waitTranslated() { wait(translated_); }
    void waitDone() { wait(done_); }

private:
    void wait(const bool& what) {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, 2min, [&what] { return what; })) {
            throw std::runtime_error("no answer within two minutes");
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    bool translated_ = false;
    bool done_ = false;
};

/// A sentence and the silence behind it, 16 kHz.
std::vector<std::int16_t> sentence() {
    EspeakSynthesiser voice;
    const auto speech = voice.speak("the meeting will begin in ten minutes", "", "en");
    if (!speech) {
        throw std::runtime_error(speech.error().description);
    }
    std::vector<std::int16_t> samples;
    for (double at = 0; at < static_cast<double>(speech->samples.size()); at += speech->rate / 16000.0) {
        samples.push_back(speech->samples[static_cast<std::size_t>(at)]);
    }
    samples.resize(samples.size() + 24000);
    return samples;
}

struct Client {
    std::shared_ptr<Tally> events = std::make_shared<Tally>();
    std::unique_ptr<EngineStream> stream;

    Client(OfflineEngine& engine, const std::string& target) {
        auto opened = engine.open({.target = target, .source = "en", .voice = {}, .silenceMs = {}}, events);
        if (!opened) {
            throw std::runtime_error(opened.error().message);
        }
        stream = std::move(*opened);
    }
    void say(std::span<const std::int16_t> samples) {
        for (; !samples.empty(); samples = samples.subspan(std::min<std::size_t>(samples.size(), 1600))) {
            const auto piece = samples.first(std::min<std::size_t>(samples.size(), 1600));
            stream->receive(boost::json::serialize(boost::json::object{
                {"type", events::audioAppend}, {"audio", base64Encode(std::as_bytes(piece))}}));
        }
    }
};

/// From the last sample of a sentence, sent as fast as it is taken, to its translation. The client has been
/// there for a second, as whoever draws breath before speaking has.
double answerMilliseconds(OfflineEngine& engine, const std::vector<std::int16_t>& samples) {
    Client client(engine, "es");
    std::this_thread::sleep_for(1s);
    const auto begin = std::chrono::steady_clock::now();
    client.say(samples);
    client.events->waitTranslated();
    const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
    client.events->waitDone();
    return passed.count();
}

void run() {
    mapLargeBlocks();  // as the relay does
    const auto clock = std::make_shared<test::ManualClock>();
    OfflineEngine engine({.recognisers = std::make_shared<PocketSphinxFactory>(),
                          .translator = std::make_shared<ChainTranslator>(
                              std::make_unique<ApertiumTranslator>("/usr/share/apertium/modes", 30s, clock)),
                          .synthesiser = std::make_shared<EspeakSynthesiser>()},
                         {.maxStreams = 4, .listener = {.behindSeconds = 600, .longestSeconds = 600}}, clock);
    const auto samples = sentence();
    std::puts(
        "| MiB | RSS | PSS | children | RSS with children | PSS with children |\n|---|---|---|---|---|---|");
    const auto first = answerMilliseconds(engine, samples);
    const auto warm = answerMilliseconds(engine, samples);
    show("two clients were there");
    for (int round = 1; round <= 10; ++round) {
        std::vector<std::unique_ptr<Client>> clients;
        for (const char* const target : {"es", "pt", "ca"}) {
            clients.push_back(std::make_unique<Client>(engine, target));
            clients.back()->say(samples);
        }
        for (const auto& client : clients) {
            client->events->waitDone();
        }
        if (round == 1 || round == 10) {
            show("round " + std::to_string(round) + ", three streams open");
        }
    }
    // What the clock makes due runs on the engine's threads, which are given a moment each time.
    for (int i = 0; i < 20; ++i) {
        std::this_thread::sleep_for(100ms);
        clock->advance(1s);
    }
    show("twenty seconds later");
    for (int i = 0; i < 100 && !descendants().empty(); ++i) {
        std::this_thread::sleep_for(100ms);
        clock->advance(10min);
    }
    show("idle for ten minutes");
    const auto cold = answerMilliseconds(engine, samples);
    std::printf(
        "\nfrom a sentence to its translation, ms: first client %.0f, next %.0f, after the idle time %.0f\n",
        first, warm, cold);
}

}  // namespace

int main() {
    try {
        run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "relay_idle: %s\n", error.what());
        return 1;
    }
}

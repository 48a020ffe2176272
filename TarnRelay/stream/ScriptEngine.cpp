#include "ScriptEngine.h"

#include <boost/json.hpp>
#include <cmath>
#include <fstream>
#include <iterator>
#include <utility>

#include "TarnCore/realtime/EventNames.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

constexpr double maxSeconds = 24.0 * 60 * 60;
constexpr std::size_t maxScriptBytes = 256UZ * 1024 * 1024;

/// Decoded bytes in a client message, when it is one that carries audio.
std::uint64_t audioBytesIn(const std::string& message) {
    boost::system::error_code error;
    const auto parsed = json::parse(message, error);
    const auto* object = error ? nullptr : parsed.if_object();
    const auto* type = object == nullptr ? nullptr : object->if_contains("type");
    const auto* audio = object == nullptr ? nullptr : object->if_contains("audio");
    if (type == nullptr || audio == nullptr || !audio->is_string() ||
        *type != json::value(events::audioAppend)) {
        return 0;
    }
    const auto bytes = base64Decode(audio->get_string());
    return bytes ? bytes->size() : 0;
}

/// Thread: the relay's network executor, where `receive` is called as well.
class ScriptStream final : public EngineStream {
public:
    ScriptStream(std::shared_ptr<const std::vector<ScriptStep>> steps, SerialExecutor executor,
                 std::shared_ptr<Clock> clock, std::shared_ptr<EventSink> sink)
        : steps_(std::move(steps)),
          executor_(std::move(executor)),
          clock_(std::move(clock)),
          sink_(std::move(sink)) {}

    void receive(std::string message) override {
        if (!start_) {
            start_ = clock_->now();
        }
        audioBytes_ += audioBytesIn(message);
        // While a timer runs, `play` goes on by itself; a step that waits for sound is looked at here.
        if (!waiting_) {
            play();
        }
    }

private:
    void play() {
        waiting_.reset();
        for (; next_ < steps_->size(); ++next_) {
            const auto& step = (*steps_)[next_];
            if (step.afterAudio) {
                if (audioBytes_ < *step.afterAudio) {
                    return;
                }
            } else if (const auto passed = clock_->now() - *start_; passed < step.at) {
                waiting_ = clock_->callAfter(executor_, step.at - passed, [this] { play(); });
                return;
            }
            if (const auto* text = std::get_if<std::string>(&step.action)) {
                sink_->send(*text);
            } else {
                sink_->close(std::get<ScriptStep::Close>(step.action).code, "the script ends here");
            }
        }
    }

    const std::shared_ptr<const std::vector<ScriptStep>> steps_;
    const SerialExecutor executor_;
    const std::shared_ptr<Clock> clock_;
    const std::shared_ptr<EventSink> sink_;
    std::optional<Clock::TimePoint> start_;
    std::uint64_t audioBytes_ = 0;
    std::size_t next_ = 0;
    std::unique_ptr<ScheduledCall> waiting_;
};

std::expected<ScriptStep, std::string> parseStep(std::string_view line) {
    boost::system::error_code error;
    const auto parsed = json::parse(line, error);
    if (error) {
        return std::unexpected("not JSON: " + error.message());
    }
    const auto* object = parsed.if_object();
    if (object == nullptr) {
        return std::unexpected("not a JSON object");
    }
    ScriptStep step;
    int times = 0;
    int actions = 0;
    for (const auto& [key, value] : *object) {
        if (key == "t") {
            ++times;
            boost::system::error_code notANumber;
            const auto seconds = value.to_number<double>(notANumber);
            if (notANumber || !(seconds >= 0 && seconds <= maxSeconds)) {
                return std::unexpected("\"t\" is not a number of seconds from 0 to 86400");
            }
            step.at = std::chrono::nanoseconds(std::llround(seconds * 1e9));
        } else if (key == "after_audio") {
            ++times;
            boost::system::error_code notANumber;
            step.afterAudio = value.to_number<std::uint64_t>(notANumber);
            if (notANumber) {
                return std::unexpected("\"after_audio\" is not a number of bytes");
            }
        } else if (key == "event") {
            ++actions;
            if (!value.is_object()) {
                return std::unexpected("\"event\" is not an object");
            }
            step.action = json::serialize(value);
        } else if (key == "raw") {
            ++actions;
            if (!value.is_string()) {
                return std::unexpected("\"raw\" is not a text");
            }
            step.action = std::string(value.get_string());
        } else if (key == "close") {
            ++actions;
            boost::system::error_code notANumber;
            const auto code = value.to_number<std::uint16_t>(notANumber);
            if (notANumber || code < 1000 || code > 4999) {
                return std::unexpected("\"close\" is not a close code from 1000 to 4999");
            }
            step.action = ScriptStep::Close{code};
        } else {
            return std::unexpected("unknown key \"" + std::string(key) + "\"");
        }
    }
    if (times != 1) {
        return std::unexpected(R"(one of "t" and "after_audio" is needed)");
    }
    if (actions != 1) {
        return std::unexpected(R"(one of "event", "raw" and "close" is needed)");
    }
    return step;
}

}  // namespace

Result<std::vector<ScriptStep>> parseScript(std::string_view text) {
    std::vector<ScriptStep> steps;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const auto end = text.find('\n');
        auto line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (line.find_first_not_of(" \t") == std::string_view::npos || line.starts_with('#')) {
            continue;
        }
        auto step = parseStep(line);
        if (!step) {
            return failure(ErrorKind::invalidInput, "line " + std::to_string(number) + ": " + step.error());
        }
        steps.push_back(std::move(*step));
    }
    return steps;
}

Result<std::vector<ScriptStep>> readScript(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char chunk[65536];
    while (file.read(chunk, sizeof chunk), file.gcount() > 0) {
        text.append(chunk, static_cast<std::size_t>(file.gcount()));
        if (text.size() > maxScriptBytes) {
            return failure(ErrorKind::invalidInput, path + " is larger than 256 MiB");
        }
    }
    if (!file.eof()) {
        return failure(ErrorKind::system, "cannot read " + path);
    }
    auto steps = parseScript(text);
    if (!steps) {
        return failure(steps.error().kind, path + ", " + steps.error().description);
    }
    return steps;
}

ScriptEngine::ScriptEngine(std::vector<ScriptStep> steps, SerialExecutor executor,
                           std::shared_ptr<Clock> clock)
    : steps_(std::make_shared<const std::vector<ScriptStep>>(std::move(steps))),
      executor_(std::move(executor)),
      clock_(std::move(clock)) {}

std::expected<std::unique_ptr<EngineStream>, Refusal> ScriptEngine::open(const StreamSettings& /*settings*/,
                                                                         std::shared_ptr<EventSink> sink) {
    return std::make_unique<ScriptStream>(steps_, executor_, clock_, std::move(sink));
}

}  // namespace tarn::relay

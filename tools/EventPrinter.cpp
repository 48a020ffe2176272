#include "EventPrinter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

#include "TarnApp/localization/DurationText.h"
#include "TarnPlatform/base/Text.h"

namespace tarn::cli {
namespace {

namespace json = boost::json;

template <typename... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};

/// Returns "connection-lost" for "connectionLost".
std::string kebab(std::string_view name) {
    std::string text;
    for (const char c : name) {
        if (std::isupper(static_cast<unsigned char>(c)) != 0) {
            text += '-';
        }
        text += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

/// A connection that is tried again is lost too, as long as it takes.
std::string nameInLines(SessionFault fault) {
    return kebab(nameOf(fault == SessionFault::connectionResuming ? SessionFault::connectionLost : fault));
}

/// How far the translation is behind what is spoken, in seconds.
int secondsBehind(const SessionFaults& faults) {
    for (const SessionFault fault : {SessionFault::connectionSlow, SessionFault::catchingUp}) {
        if (const auto found = faults.find(fault); found != faults.end()) {
            return std::stoi(found->second);
        }
    }
    return 0;
}

/// Whether a fault is written as a line. Gaps are events of their own, and the others end the run.
bool isSaid(SessionFault fault) {
    return fault != SessionFault::soundLeftOut && fault != SessionFault::connectionLost &&
           fault != SessionFault::serviceRefuses && fault != SessionFault::captureEnded;
}

/// Writes the faults of a source to standard error at each change.
class HealthLines {
public:
    explicit HealthLines(bool numbered) : numbered_(numbered) {}

    void say(std::size_t source, const SessionFaults& faults) {
        std::set<SessionFault> said;
        std::string text;
        for (const auto& [fault, value] : faults) {
            if (isSaid(fault)) {
                said.insert(fault);
                std::string one = tarn::text(textOf(fault), AppLanguage::en, {value});
                one.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(one.front())));
                text += (text.empty() ? "" : "; ") + one;
            }
        }
        if (auto& before = said_[source]; said != before) {
            before = std::move(said);
            complain((numbered_ ? "source " + std::to_string(source + 1) + ": " : "") +
                     (text.empty() ? "all is well again" : text));
        }
    }

private:
    const bool numbered_;
    std::map<std::size_t, std::set<SessionFault>> said_;
};

class JsonLinesPrinter final : public EventPrinter {
public:
    JsonLinesPrinter(bool numbered, std::chrono::steady_clock::time_point start,
                     std::function<void(std::string)> write)
        : numbered_(numbered), start_(start), write_(std::move(write)), lines_(numbered) {}

    void state(std::size_t source, const std::string& value) override {
        line(source, {{"event", "state"}, {"value", value}});
    }

    void level(std::size_t /*source*/, float /*level*/) override {}
    void languages(std::size_t /*source*/, const std::string& /*from*/, const std::string& /*to*/) override {}

    void health(std::size_t source, const SessionFaults& faults) override {
        json::array names;
        for (const auto& [fault, value] : faults) {
            if (fault != SessionFault::soundLeftOut) {  // a gap is an event
                names.emplace_back(nameInLines(fault));
            }
        }
        const auto refusal = faults.find(SessionFault::serviceRefuses);
        json::object fields{
            {"event", "health"}, {"faults", std::move(names)}, {"behind_s", secondsBehind(faults)}};
        if (refusal != faults.end()) {
            fields["message"] = refusal->second;
        }
        if (fields != lastHealth_[source]) {
            lastHealth_[source] = fields;
            line(source, std::move(fields));
        }
        lines_.say(source, faults);
    }

    void event(std::size_t source, const TarnTranslateEvent& event) override {
        std::visit(Overloaded{
                       [this, source](const translate::SourceText& text) {
                           line(source, {{"event", "source"}, {"text", text.text}, {"done", text.done}});
                       },
                       [this, source](const translate::TranslatedText& text) {
                           line(source, {{"event", "translation"}, {"text", text.text}, {"done", text.done}});
                       },
                       [this, source](const translate::TranslatedAudio& audio) {
                           line(source, {{"event", "audio"}, {"bytes", audio.bytes.size()}});
                       },
                       [this, source](const translate::Error& error) {
                           line(source, {{"event", "error"}, {"message", error.message}});
                       },
                       [this, source](const translate::Gap& gap) {
                           line(source, {{"event", "gap"}, {"seconds", gap.seconds}});
                       },
                       [](const translate::Progress&) {},
                       [this, source](const translate::Unauthorized&) {
                           line(source,
                                {{"event", "error"}, {"message", "the server refused the access token"}});
                       },
                       [this, source](const translate::Closed&) { line(source, {{"event", "closed"}}); },
                   },
                   event);
    }

private:
    void line(std::size_t source, json::object fields) {
        if (numbered_) {
            fields["source"] = source + 1;
        }
        const auto passed =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_)
                .count();
        std::array<char, 32> time{};
        std::snprintf(time.data(), time.size(), "%lld.%03lld", static_cast<long long>(passed / 1000),
                      static_cast<long long>(passed % 1000));
        write_(std::string("{\"t\":") + time.data() + "," + json::serialize(fields).substr(1) + "\n");
    }

    const bool numbered_;
    const std::chrono::steady_clock::time_point start_;
    const std::function<void(std::string)> write_;
    std::map<std::size_t, json::object> lastHealth_;
    HealthLines lines_;
};

/// Prints final texts as lines. On a terminal the text that is still changing and the level stand below them
/// and are overwritten.
class TextPrinter final : public EventPrinter {
public:
    TextPrinter(const RunOptions& options, std::function<void(std::string)> write)
        : write_(std::move(write)),
          onTerminal_(::isatty(STDOUT_FILENO) == 1),
          lines_(options.isConversation()) {
        for (const SourceOptions& source : options.sources) {
            Source& shown = sources_.emplace_back();
            if (options.isConversation()) {
                shown.number = std::to_string(sources_.size()) + " ";
            }
            languages(sources_.size() - 1, source.sourceLang, source.targetLang);
            shown.isLive = source.input.empty();
        }
    }

    void languages(std::size_t source, const std::string& from, const std::string& to) override {
        Source& shown = sources_[source];
        shown.heardTag = shown.number + (from.empty() ? "heard" : from);
        shown.translatedTag = shown.number + to;
    }

    void state(std::size_t source, const std::string& value) override {
        sources_[source].isRunning = value == "running";
        if (!sources_[source].isRunning) {
            eraseRunning();
        }
    }

    void health(std::size_t source, const SessionFaults& faults) override {
        eraseRunning();
        lines_.say(source, faults);
    }

    void level(std::size_t source, float level) override {
        Source& shown = sources_[source];
        shown.level = std::max(shown.level, level);
        const auto now = std::chrono::steady_clock::now();
        if (onTerminal_ && shown.isLive && shown.isRunning && now - lastLevel_ >= levelInterval) {
            lastLevel_ = now;
            writeRunning();
            for (Source& each : sources_) {
                each.level = 0;
            }
        }
    }

    void event(std::size_t source, const TarnTranslateEvent& event) override {
        std::visit(Overloaded{
                       [this, source](const translate::SourceText& text) {
                           show(sources_[source].heardTag, sources_[source].openHeard, text.text, text.done);
                       },
                       [this, source](const translate::TranslatedText& text) {
                           show(sources_[source].translatedTag, sources_[source].openTranslated, text.text,
                                text.done);
                       },
                       [this](const translate::Error& error) {
                           eraseRunning();
                           complain(printable(error.message));
                       },
                       [this, source](const translate::Gap& gap) {
                           eraseRunning();
                           if (gap.isOfOutage) {
                               write_(sources_[source].number +
                                      notTranslatedText(gap.seconds, AppLanguage::en) + "\n");
                               return;
                           }
                           complain("the connection is too slow: " +
                                    std::to_string(std::lround(gap.seconds)) + " s of sound were left out");
                       },
                       [this, source](const translate::Closed&) { settle(sources_[source]); },
                       [](const auto&) {},
                   },
                   event);
    }

private:
    struct Source {
        std::string number;  ///< where there are several
        std::string heardTag;
        std::string translatedTag;
        std::string openHeard;  ///< the line of a text that is not final yet
        std::string openTranslated;
        bool isLive = false;
        bool isRunning = false;
        float level = 0;  ///< the loudest since it was shown
    };

    void show(const std::string& tag, std::string& open, const std::string& text, bool done) {
        const auto line = printable(tag + ": " + text);
        open = done || text.empty() ? "" : line;
        if (done) {
            eraseRunning();
            if (!text.empty()) {
                write_(line + "\n");
            }
        } else if (onTerminal_) {
            latest_ = line;
            writeRunning();
        }
    }

    /// Prints the texts that never became final, since at the end they are better than none.
    void settle(Source& source) {
        eraseRunning();
        for (auto* const open : {&source.openHeard, &source.openTranslated}) {
            if (!open->empty()) {
                write_(*open + " …\n");
                open->clear();
            }
        }
    }

    void writeRunning() {
        const std::size_t width = columns();
        std::string meters = levels();
        if (meterColumns(meters) > width) {
            meters.clear();
        }
        const std::string text = latest_;
        eraseRunning();
        latest_ = text;
        write_(meters + lastColumns(latest_, width - meterColumns(meters)));
        running_ = true;
    }

    /// Returns "▕████  ▏" for each live source.
    std::string levels() const {
        std::string meters;
        for (const Source& source : sources_) {
            if (source.isLive) {
                meters += levelMeter(source.level);
            }
        }
        return meters;
    }

    static std::size_t meterColumns(const std::string& meters) {
        return static_cast<std::size_t>(std::ranges::count_if(
            meters, [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
    }

    void eraseRunning() {
        if (running_) {
            write_("\r\x1b[K");
            running_ = false;
            latest_.clear();
        }
    }

    static std::size_t columns() {
        winsize size{};
        const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
        return known ? size.ws_col - 1U : 79U;
    }

    /// Returns as much of the end of `line` as fits into one row: a wrapped line could not be overwritten.
    static std::string lastColumns(const std::string& line, std::size_t columns) {
        std::size_t start = line.size();
        std::size_t used = 0;
        while (start > 0) {
            std::size_t first = start - 1;
            while (first > 0 && (static_cast<unsigned char>(line[first]) & 0xC0U) == 0x80U) {
                --first;
            }
            used += start - first >= 3 ? 2 : 1;  // characters of three bytes or more may be two columns wide
            if (used > columns) {
                break;
            }
            start = first;
        }
        return line.substr(start);
    }

    static constexpr std::chrono::milliseconds levelInterval{100};

    const std::function<void(std::string)> write_;
    const bool onTerminal_;
    std::vector<Source> sources_;
    bool running_ = false;  ///< the last line on the terminal will be overwritten
    std::string latest_;    ///< the text that is still changing
    std::chrono::steady_clock::time_point lastLevel_{};
    HealthLines lines_;
};

}  // namespace

std::string levelMeter(float level) {
    constexpr float quietest = -60;  // dB
    constexpr int cells = 10;
    const float decibels = level > 0 ? 20 * std::log10(level) : quietest;
    const int full =
        std::clamp(static_cast<int>(std::lround((decibels - quietest) / -quietest * cells)), 0, cells);
    std::string meter = "▕";
    for (int cell = 0; cell < cells; ++cell) {
        meter += cell < full ? "█" : " ";
    }
    return meter + "▏";
}

std::unique_ptr<EventPrinter> EventPrinter::make(const RunOptions& options,
                                                 std::chrono::steady_clock::time_point start,
                                                 std::function<void(std::string)> write) {
    if (options.format == Format::jsonl) {
        return std::make_unique<JsonLinesPrinter>(options.isConversation(), start, std::move(write));
    }
    return std::make_unique<TextPrinter>(options, std::move(write));
}

}  // namespace tarn::cli

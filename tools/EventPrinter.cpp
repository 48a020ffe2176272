#include "EventPrinter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <cstdio>

namespace tarn::cli {
namespace {

namespace json = boost::json;

template <typename... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};

class JsonLinesPrinter final : public EventPrinter {
public:
    JsonLinesPrinter(std::chrono::steady_clock::time_point start, std::function<void(std::string)> write)
        : start_(start), write_(std::move(write)) {}

    void state(const std::string& value) override { line({{"event", "state"}, {"value", value}}); }

    void event(const TarnTranslateEvent& event) override {
        std::visit(Overloaded{
                       [this](const translate::SourceText& text) {
                           line({{"event", "source"}, {"text", text.text}, {"done", text.done}});
                       },
                       [this](const translate::TranslatedText& text) {
                           line({{"event", "translation"}, {"text", text.text}, {"done", text.done}});
                       },
                       [this](const translate::TranslatedAudio& audio) {
                           line({{"event", "audio"}, {"bytes", audio.bytes.size()}});
                       },
                       [this](const translate::Error& error) {
                           line({{"event", "error"}, {"message", error.message}});
                       },
                       [this](const translate::Unauthorized&) {
                           line({{"event", "error"}, {"message", "the server refused the access token"}});
                       },
                       [this](const translate::Closed&) { line({{"event", "closed"}}); },
                   },
                   event);
    }

private:
    void line(const json::object& fields) {
        const auto passed =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_)
                .count();
        std::array<char, 32> time{};
        std::snprintf(time.data(), time.size(), "%lld.%03lld", static_cast<long long>(passed / 1000),
                      static_cast<long long>(passed % 1000));
        write_(std::string("{\"t\":") + time.data() + "," + json::serialize(fields).substr(1) + "\n");
    }

    const std::chrono::steady_clock::time_point start_;
    const std::function<void(std::string)> write_;
};

/// Finals as lines; on a terminal the text that is still changing stands below them and is written over.
class TextPrinter final : public EventPrinter {
public:
    TextPrinter(const RunOptions& options, std::function<void(std::string)> write)
        : write_(std::move(write)),
          sourceTag_(options.sourceLang.empty() ? "heard" : options.sourceLang),
          targetTag_(options.targetLang),
          onTerminal_(::isatty(STDOUT_FILENO) == 1) {}

    void state(const std::string& /*value*/) override {}

    void event(const TarnTranslateEvent& event) override {
        std::visit(Overloaded{
                       [this](const translate::SourceText& text) {
                           show(sourceTag_, openSource_, text.text, text.done);
                       },
                       [this](const translate::TranslatedText& text) {
                           show(targetTag_, openTranslation_, text.text, text.done);
                       },
                       [this](const translate::Error& error) {
                           eraseRunning();
                           complain(printable(error.message));
                       },
                       [this](const translate::Closed&) { settleRunning(); },
                       [](const auto&) {},
                   },
                   event);
    }

private:
    void show(const std::string& tag, std::string& open, const std::string& text, bool done) {
        const auto line = printable(tag + ": " + text);
        open = done || text.empty() ? "" : line;
        if (done) {
            eraseRunning();
            if (!text.empty()) {
                write_(line + "\n");
            }
        } else if (onTerminal_) {
            eraseRunning();
            write_(lastColumns(line));
            running_ = true;
        }
    }

    /// At the end a text that never became final is better than none.
    void settleRunning() {
        eraseRunning();
        for (auto* const open : {&openSource_, &openTranslation_}) {
            if (!open->empty()) {
                write_(*open + " …\n");
                open->clear();
            }
        }
    }

    void eraseRunning() {
        if (running_) {
            write_("\r\x1b[K");
            running_ = false;
        }
    }

    /// As much of the end of `line` as fits beside the cursor: a wrapped line could not be written over.
    static std::string lastColumns(const std::string& line) {
        winsize size{};
        const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
        const std::size_t columns = known ? size.ws_col - 1U : 79U;
        std::size_t start = line.size();
        std::size_t used = 0;
        while (start > 0) {
            std::size_t first = start - 1;
            while (first > 0 && (static_cast<unsigned char>(line[first]) & 0xC0U) == 0x80U) {
                --first;
            }
            used += start - first >= 3 ? 2 : 1;  // scripts of three bytes and more may be twice as wide
            if (used > columns) {
                break;
            }
            start = first;
        }
        return line.substr(start);
    }

    const std::function<void(std::string)> write_;
    const std::string sourceTag_;
    const std::string targetTag_;
    const bool onTerminal_;
    bool running_ = false;    ///< the last line on the terminal is to be written over
    std::string openSource_;  ///< the line of a text that is not final yet
    std::string openTranslation_;
};

}  // namespace

std::string printable(const std::string& text) {
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isC1 =
            byte == 0xC2U && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0U;
        if (isC1) {
            ++i;
        }
        clean.push_back(isC1 || byte < 0x20U || byte == 0x7fU ? ' ' : text[i]);
    }
    return clean;
}

std::unique_ptr<EventPrinter> EventPrinter::make(const RunOptions& options,
                                                 std::chrono::steady_clock::time_point start,
                                                 std::function<void(std::string)> write) {
    if (options.format == Format::jsonl) {
        return std::make_unique<JsonLinesPrinter>(start, std::move(write));
    }
    return std::make_unique<TextPrinter>(options, std::move(write));
}

}  // namespace tarn::cli

#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "SourceGroups.h"
#include "TarnPlatform/base/Log.h"

namespace tarn::cli {
namespace {

constexpr double longestSeconds = 1e6;
constexpr std::size_t mostSources = 4;

struct RawOptions {
    RunOptions run;
    std::string input;
    std::string server;
    std::string format = "text";
    std::string dub = "none";
    std::string keepUp = "on";
    std::string saveTexts = "both";
    bool fast = false;
    bool resume = false;
    bool noResume = false;
    bool tokenOnInput = false;
};

void addRunOptions(CLI::App& app, RawOptions& raw) {
    app.add_option(
        "--input", raw.input,
        "Read speech from a sound file, or with - from standard input: WAV, FLAC, Ogg, else raw s16le "
        "16 kHz mono");
    app.add_flag("--fast", raw.fast, "Send the input as fast as it is taken instead of in real time");
    app.add_option("--rate", raw.run.rate, "Speed of the played voice")
        ->check(CLI::Range(0.5, 2.0))
        ->capture_default_str();
    app.add_option("--volume", raw.run.volume, "Loudness of the played voice, 1 as received")
        ->check(CLI::Range(0.0, 10.0))
        ->capture_default_str();
    app.add_option(
           "--keep-up", raw.keepUp,
           "Speak a played voice that is behind faster, and skip sentences of one far behind: on or off")
        ->check(CLI::IsMember({"on", "off"}))
        ->capture_default_str();
    app.add_option(
           "--turn-others-down", raw.run.turnOthersDown,
           "Decibels by which other programs are turned down while a played voice speaks: 0, 6, 12 or 20")
        ->check(CLI::IsMember({0, 6, 12, 20}))
        ->capture_default_str();
    app.add_option("--dub", raw.dub, "Translated voice: play, none, or the WAV file to write it to")
        ->capture_default_str();
    app.add_option("--format", raw.format, "Output: text, or jsonl for one JSON object a line")
        ->check(CLI::IsMember({"text", "jsonl"}))
        ->capture_default_str();
    app.add_option(
           "--save", raw.run.saved,
           "File for what is said, written as it comes; can be given again. Its ending tells the format: " +
               transcriptEndings())
        ->allow_extra_args(false);
    app.add_option("--save-texts", raw.saveTexts, "Texts of the saved files: original, translation or both")
        ->check(CLI::IsMember({"original", "translation", "both"}))
        ->capture_default_str();
    app.add_option("--duration", raw.run.duration, "End the input after this many seconds")
        ->check(CLI::Range(0.001, longestSeconds));
    app.add_flag(
        "--resume", raw.resume,
        "After a lost connection try another one, and send it what was said meanwhile; as it is for live "
        "sound");
    app.add_flag("--no-resume", raw.noResume, "A lost connection ends the run; as it is with --input");
    app.add_option("--give-up", raw.run.giveUp,
                   "Seconds without a connection after which the run ends, 0 for never")
        ->check(CLI::Range(0.0, longestSeconds))
        ->capture_default_str();
    app.add_option("--drain", raw.run.drain,
                   "Seconds to wait at most for the last utterance after the input's end")
        ->check(CLI::Range(0.0, longestSeconds))
        ->capture_default_str();
}

std::optional<std::string> checkSource(const SourceOptions& source) {
    const bool application = source.input.empty() && source.capture == CaptureSource::application;
    const bool microphone = source.input.empty() && source.capture == CaptureSource::mic;
    if (application && source.app.empty()) {
        return "--source application needs --app ID (list them with: tarn-cli apps)";
    }
    if (!application && !source.app.empty()) {
        return "--app goes with --source application";
    }
    if (!microphone && !source.device.empty()) {
        return "--device goes with --source mic";
    }
    if (source.targetLang.empty()) {
        return "--to needs a language code";
    }
    return std::nullopt;
}

/// A file can be sent once more, and what was said cannot be said again.
bool resumes(const RawOptions& raw) {
    return raw.resume || (!raw.noResume && raw.input.empty());
}

/// A later file would empty an earlier one of the same name, however it is spelled.
bool namesOneFileTwice(std::vector<std::string> paths) {
    std::error_code ignored;
    for (std::string& path : paths) {
        path = std::filesystem::weakly_canonical(path, ignored).string();
    }
    std::ranges::sort(paths);
    return std::ranges::adjacent_find(paths) != paths.end();
}

std::optional<std::string> checkSaving(const RawOptions& raw) {
    std::vector<std::string> written = raw.run.saved;
    for (const std::string& path : written) {
        if (!transcriptFormatOf(path)) {
            return "--save " + path + ": the file's name must end in one of " + transcriptEndings();
        }
    }
    if (raw.dub != "play" && raw.dub != "none") {
        written.push_back(raw.dub);
    }
    if (namesOneFileTwice(written)) {
        return "--save names a file that is written already";
    }
    return std::nullopt;
}

/// Returns a complaint about the first option that makes no sense.
std::optional<std::string> checkRun(const RawOptions& raw) {
    const auto& sources = raw.run.sources;
    if (sources.empty()) {
        return "nothing to listen to: name a source with --source system, mic or application, or speech with "
               "--input FILE";
    }
    if (!raw.input.empty() && (sources.size() > 1 || sources.front().input.empty())) {
        return "--input and --source exclude each other";
    }
    if (sources.size() > mostSources) {
        return "--source can be given four times at most";
    }
    for (const SourceOptions& source : sources) {
        if (auto complaint = checkSource(source)) {
            return complaint;
        }
    }
    if (raw.fast && raw.input.empty()) {
        return "--fast goes with --input: live sound has its own pace";
    }
    if (std::isnan(raw.run.drain) || std::isnan(raw.run.duration.value_or(0)) || std::isnan(raw.run.giveUp)) {
        return "--drain, --duration and --give-up need a number of seconds";
    }
    if (raw.resume && raw.noResume) {
        return "--resume and --no-resume exclude each other";
    }
    if (raw.run.giveUp > 0 && !resumes(raw)) {
        return raw.noResume
                   ? "--give-up and --no-resume exclude each other"
                   : "--give-up with --input needs --resume: without it a lost connection ends the run";
    }
    if (std::isnan(raw.run.rate) || std::isnan(raw.run.volume)) {
        return "--rate and --volume need a number";
    }
    if (raw.dub.empty() || raw.dub == "-") {
        return "--dub needs the name of a file, play or none";
    }
    if (raw.run.isConversation() && raw.dub != "play" && raw.dub != "none") {
        return "--dub FILE goes with one source";
    }
    return checkSaving(raw);
}

/// Returns a complaint about an option that does not belong to the command.
std::optional<std::string> checkCommand(const CLI::App& app, const std::string& command) {
    for (const CLI::Option* const option : app.parse_order()) {
        if (option->get_name() != "--server") {
            return option->get_name() + " does not go with " + command;
        }
    }
    return std::nullopt;
}

Command commandNamed(const std::string& name, bool tokenOnInput) {
    return name == "apps"      ? Command::apps
           : name == "devices" ? Command::devices
           : name == "logout"  ? Command::logout
           : name == "status"  ? Command::status
           : tokenOnInput      ? Command::loginWithToken
                               : Command::login;
}

}  // namespace

std::string describe(const SourceOptions& source) {
    switch (source.capture) {
        case CaptureSource::system:
            return "all that the computer plays";
        case CaptureSource::application:
            return "the application " + source.app;
        case CaptureSource::mic:
            break;
    }
    return source.device.empty() ? "the default microphone" : "the microphone " + source.device;
}

void complain(const std::string& text) {
    logLine("tarn-cli: " + text);
}

std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
    CLI::App app("Translates speech live, without a window.", "tarn-cli");
    RawOptions raw;
    SourceGroups groups(app);
    addRunOptions(app, raw);
    app.add_option(
        "--server", raw.server,
        "The account server: the address that tarn-relay prints, a host, or the base URL of the API");
    app.set_version_flag("--version", std::string("tarn-cli 0.1.0"));
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.add_subcommand("apps", "List the applications that can be listened to");
    app.add_subcommand("devices", "List the microphones");
    auto* const login = app.add_subcommand("login", "Sign in with the browser");
    login->add_flag("--token-stdin", raw.tokenOnInput, "Read the access token from standard input instead");
    app.add_subcommand("logout", "Sign out");
    app.add_subcommand("status", "Say whether and as whom one is signed in");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool wasHelp = app.exit(error) == 0;
        return wasHelp ? ExitStatus::ended : ExitStatus::wrongArguments;
    }

    Options options;
    const auto chosen = app.get_subcommands();
    if (!chosen.empty()) {
        options.command = commandNamed(chosen.front()->get_name(), raw.tokenOnInput);
        if (const auto wrong = checkCommand(app, chosen.front()->get_name())) {
            complain(*wrong);
            return ExitStatus::wrongArguments;
        }
    } else {
        raw.run.sources = groups.sources(raw.input);
        if (const auto wrong = checkRun(raw)) {
            complain(*wrong);
            return ExitStatus::wrongArguments;
        }
    }
    options.run = raw.run;
    options.run.pace = raw.fast ? Pace::asFastAsTaken : Pace::realTime;
    options.run.resumes = resumes(raw);
    options.run.format = raw.format == "jsonl" ? Format::jsonl : Format::text;
    options.run.keepUp = raw.keepUp == "on";
    options.run.savedTexts = transcriptTextsNamed(raw.saveTexts).value_or(TranscriptTexts::both);
    options.run.playDub = raw.dub == "play";
    if (raw.dub != "none" && raw.dub != "play") {
        options.run.dubFile = raw.dub;
    }
    if (options.command == Command::apps || options.command == Command::devices) {
        return options;  // neither of these commands needs a server
    }

    const auto& deployment = Deployment::current();
    if (deployment) {
        options.deployment = *deployment;
    } else if (raw.server.empty()) {
        complain(deployment.error().description);
        return ExitStatus::failed;
    }
    if (!raw.server.empty()) {
        auto base = Deployment::parseBase(raw.server, "/tarn", options.deployment.allowPlainHttp);
        if (!base) {
            complain("--server: " + base.error().description);
            return ExitStatus::wrongArguments;
        }
        // A server that is named by its API has its sign-in page beside it.
        const auto site = Url::parse(base->scheme() + "://" + base->hostHeader());
        options.deployment.webBase = site.value_or(options.deployment.webBase);
        options.deployment.apiBase = std::move(*base);
        options.deployment.isCompiledDefault = false;
    }
    return options;
}

}  // namespace tarn::cli

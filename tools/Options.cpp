#include "Options.h"

#include <CLI/CLI.hpp>
#include <cmath>

#include "TarnPlatform/logging/Log.h"

namespace tarn::cli {
namespace {

constexpr double longestSeconds = 1e6;

/// Options that name a source of the desktop's own sound.
struct CaptureOptions {
    std::string source;
    std::string app;
    std::string device;
    std::string voiceProcessing = "on";
};

struct RawOptions {
    RunOptions run;
    CaptureOptions capture;
    std::string server;
    std::string format = "text";
    std::string dub = "none";
    bool fast = false;
    bool tokenOnInput = false;
    double rate = 1.0;
    double volume = 1.0;
};

void addRunOptions(CLI::App& app, RawOptions& raw) {
    app.add_option("--source", raw.capture.source, "What to listen to: system, mic or application")
        ->check(CLI::IsMember({"system", "mic", "application"}));
    app.add_option("--app", raw.capture.app, "Identifier of the application to listen to (see 'apps')");
    app.add_option("--device", raw.capture.device, "Identifier of the microphone (see 'devices')");
    app.add_option("--voice-processing", raw.capture.voiceProcessing,
                   "Echo cancellation of the microphone: on or off")
        ->check(CLI::IsMember({"on", "off"}));
    app.add_option("--input", raw.run.input,
                   "Read speech from a sound file, or with - raw s16le 16 kHz mono from standard input");
    app.add_flag("--fast", raw.fast, "Send the input as fast as it is taken instead of in real time");
    app.add_option("--from", raw.run.sourceLang, "Language code of the speech; left out: detected");
    app.add_option("--to", raw.run.targetLang, "Language code of the translation")->capture_default_str();
    app.add_option("--voice", raw.run.voice, "Voice of the translated speech; left out: the service's own");
    app.add_option("--clone", raw.run.voiceClone, "Clone the speaker's voice: none, once or always")
        ->check(CLI::IsMember({"none", "once", "always"}))
        ->capture_default_str();
    app.add_option("--silence-ms", raw.run.silenceMs, "Milliseconds of silence that end an utterance")
        ->capture_default_str();
    app.add_option("--rate", raw.rate, "Speed of the played voice")
        ->check(CLI::Range(0.5, 2.0))
        ->capture_default_str();
    app.add_option("--volume", raw.volume, "Loudness of the played voice, 1 as received")
        ->check(CLI::Range(0.0, 10.0))
        ->capture_default_str();
    app.add_option("--dub", raw.dub, "Translated voice: none, or the WAV file to write it to")
        ->capture_default_str();
    app.add_option("--format", raw.format, "Output: text, or jsonl for one JSON object a line")
        ->check(CLI::IsMember({"text", "jsonl"}))
        ->capture_default_str();
    app.add_option("--duration", raw.run.duration, "End the input after this many seconds")
        ->check(CLI::Range(0.001, longestSeconds));
    app.add_option("--drain", raw.run.drain,
                   "Seconds to wait at most for the last utterance after the input's end")
        ->check(CLI::Range(0.0, longestSeconds))
        ->capture_default_str();
}

std::optional<ExitStatus> checkRun(const RawOptions& raw) {
    if (!raw.run.input.empty() && !raw.capture.source.empty()) {
        complain("--input and --source exclude each other");
        return ExitStatus::wrongArguments;
    }
    if (raw.run.input.empty()) {
        complain("nothing to listen to: this version reads speech with --input FILE or --input - only");
        return raw.capture.source.empty() ? ExitStatus::wrongArguments : ExitStatus::failed;
    }
    if (raw.run.targetLang.empty()) {
        complain("--to needs a language code");
        return ExitStatus::wrongArguments;
    }
    if (std::isnan(raw.run.drain) || std::isnan(raw.run.duration.value_or(0))) {
        complain("--drain and --duration need a number of seconds");
        return ExitStatus::wrongArguments;
    }
    if (raw.dub.empty() || raw.dub == "-") {
        complain("--dub needs the name of a file, or none");
        return ExitStatus::wrongArguments;
    }
    if (raw.dub == "play") {
        complain("this version cannot play the voice: write it to a file with --dub FILE.wav");
        return ExitStatus::failed;
    }
    return std::nullopt;
}

}  // namespace

void complain(const std::string& text) {
    logLine("tarn-cli: " + text);
}

std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
    CLI::App app("Translates speech live, without a window.", "tarn-cli");
    RawOptions raw;
    addRunOptions(app, raw);
    app.add_option("--server", raw.server, "Base URL of the account server's API, path included");
    app.set_version_flag("--version", std::string("tarn-cli 0.1.0"));
    app.require_subcommand(0, 1);
    app.fallthrough();
    app.add_subcommand("apps", "List the applications that can be listened to");
    app.add_subcommand("devices", "List the microphones");
    auto* const login = app.add_subcommand("login", "Sign in");
    login->add_flag("--token-stdin", raw.tokenOnInput, "Read the access token from standard input");
    app.add_subcommand("logout", "Sign out");
    app.add_subcommand("status", "Say whether and as whom one is signed in");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const bool wasHelp = app.exit(error) == 0;
        return wasHelp ? ExitStatus::ended : ExitStatus::wrongArguments;
    }

    Options options;
    options.run = raw.run;
    options.run.pace = raw.fast ? Pace::asFastAsTaken : Pace::realTime;
    options.run.format = raw.format == "jsonl" ? Format::jsonl : Format::text;
    if (raw.dub != "none" && raw.dub != "play") {
        options.run.dubFile = raw.dub;
    }
    const auto chosen = app.get_subcommands();
    if (!chosen.empty()) {
        const auto name = chosen.front()->get_name();
        options.command = name == "apps"      ? Command::apps
                          : name == "devices" ? Command::devices
                          : name == "logout"  ? Command::logout
                          : name == "status"  ? Command::status
                          : raw.tokenOnInput  ? Command::loginWithToken
                                              : Command::login;
    } else if (const auto wrong = checkRun(raw)) {
        return *wrong;
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
        options.deployment.apiBase = std::move(*base);
    }
    return options;
}

}  // namespace tarn::cli

#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "TarnApp/session/CaptureSource.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnCore/record/TranscriptFormat.h"

namespace tarn::cli {

enum class ExitStatus : int {
    ended = 0,  ///< as asked
    failed = 1,
    wrongArguments = 2,
    notSignedIn = 3,  ///< nobody is signed in, or the server refused the token
};

enum class Format : unsigned char { text, jsonl };
enum class Pace : unsigned char { realTime, asFastAsTaken };

/// One source of speech and what becomes of it.
struct SourceOptions {
    CaptureSource capture = CaptureSource::system;
    std::string
        input;  ///< in its place: path of a sound file, or "-" for raw s16le 16 kHz mono on standard input
    std::string app;              ///< bundle identifier; of an application only
    std::string device;           ///< UID; of a microphone only, empty: the default one
    bool voiceProcessing = true;  ///< of a microphone only
    std::string sourceLang;       ///< empty: detect
    std::string targetLang = "en";
    bool namesLanguages = false;  ///< one of the two was given
    std::string voice;
    std::string voiceClone = "none";
    int silenceMs = 2000;  ///< below 1: not sent
};

/// For a line that says to what is listened.
std::string describe(const SourceOptions& source);

/// What one translation run was asked to do.
struct RunOptions {
    std::vector<SourceOptions> sources;  ///< one to four; an `input` stands alone
    Pace pace = Pace::realTime;
    std::optional<std::string> dubFile;
    bool playDub = false;
    double rate = 1;          ///< of the played voice, 0.5 to 2
    double volume = 1;        ///< of the played voice, linear, 0 to 10
    bool keepUp = true;       ///< a played voice that is behind is spoken faster or skipped
    int turnOthersDown = 12;  ///< decibels, while a played voice speaks
    Format format = Format::text;
    std::vector<std::string> saved;  ///< files for what is said; their endings tell the formats
    TranscriptTexts savedTexts = TranscriptTexts::both;
    std::optional<double> duration;  ///< seconds of input after which the run ends
    double drain = 10;               ///< seconds
    bool resumes = true;             ///< after a lost connection
    double giveUp = 0;               ///< seconds without a connection after which the run ends; 0: never

    bool isConversation() const { return sources.size() > 1; }
};

enum class Command : unsigned char { run, apps, devices, login, loginWithToken, logout, status };

struct Options {
    Command command = Command::run;
    DeploymentValues deployment;
    RunOptions run;
};

/// Reads the command line. Otherwise it has written help or one clear line and this is the status to exit
/// with.
std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv);

/// Says on standard error, in one line, why the program ends.
void complain(const std::string& text);

}  // namespace tarn::cli

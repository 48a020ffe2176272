#pragma once

#include <optional>
#include <string>
#include <variant>

#include "TarnCore/deployment/Deployment.h"

namespace tarn::cli {

enum class ExitStatus : int {
    ended = 0,  ///< as asked
    failed = 1,
    wrongArguments = 2,
    notSignedIn = 3,  ///< nobody is signed in, or the server refused the token
};

enum class Format : unsigned char { text, jsonl };
enum class Pace : unsigned char { realTime, asFastAsTaken };

/// What one translation run was asked to do.
struct RunOptions {
    std::string input;  ///< path of a sound file, or "-" for raw s16le 16 kHz mono on standard input
    Pace pace = Pace::realTime;
    std::string sourceLang;  ///< empty: detect
    std::string targetLang = "en";
    std::string voice;
    std::string voiceClone = "none";
    int silenceMs = 2000;  ///< below 1: not sent
    std::optional<std::string> dubFile;
    Format format = Format::text;
    std::optional<double> duration;  ///< seconds of input after which the run ends
    double drain = 10;               ///< seconds
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

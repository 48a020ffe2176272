#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "SessionProgram.h"

namespace tarn::test {

/// A folder of one test's own, gone with its object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }
    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& content) const;
    /// As `write`, of a file that can be run.
    std::string writeProgram(const std::string& name, const std::string& content) const;

private:
    std::string path_;
};

std::string readFile(const std::string& path);

/// A program under test, with files for its output. Killed when its object goes or this process dies.
class Program {
public:
    struct Setup {
        std::vector<std::string> arguments;                ///< the program first, looked up in PATH
        std::map<std::string, std::string> environment{};  ///< on top of a small clean one
        std::string inputFile = "/dev/null";
    };
    explicit Program(const Setup& setup);
    ~Program() = default;
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void signal(int number) const { program_.signal(number); }
    /// Exit status, or 128 + signal; throws when it still runs after `limit`.
    int wait(std::chrono::seconds limit = std::chrono::seconds(30)) { return program_.wait(limit); }
    /// Waits until standard output (or error) holds `text`; throws after 30 s or when the program ends
    /// without it.
    void waitForOutput(const std::string& text) { waitFor("out", text); }
    void waitForError(const std::string& text) { waitFor("err", text); }

    std::string out() const { return readFile(folder_.file("out")); }
    std::string err() const { return readFile(folder_.file("err")); }

private:
    void waitFor(const std::string& stream, const std::string& text);

    TemporaryFolder folder_;
    SessionProgram program_;
};

}  // namespace tarn::test

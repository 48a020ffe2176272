#include "Program.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace tarn::test {
namespace {

std::vector<std::string> environmentOf(const Program::Setup& setup, const std::string& home) {
    auto environment = setup.environment;
    environment.try_emplace("HOME", home);
    environment.try_emplace("LC_ALL", "C.UTF-8");
    for (const auto* const name :
         {"PATH", "ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LLVM_PROFILE_FILE"}) {
        if (const char* const value = std::getenv(name)) {
            environment.try_emplace(name, value);
        }
    }
    std::vector<std::string> variables;
    for (const auto& [name, value] : environment) {
        variables.push_back(name + "=" + value);
    }
    return variables;
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    std::string path = "/tmp/tarn-test-XXXXXX";
    if (::mkdtemp(path.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = path;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
}

std::string TemporaryFolder::writeProgram(const std::string& name, const std::string& content) const {
    std::filesystem::permissions(write(name, content), std::filesystem::perms::owner_all);
    return file(name);
}

std::string readFile(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

Program::Program(const Setup& setup)
    : program_(setup.arguments, environmentOf(setup, folder_.path()), folder_.file("out"),
               folder_.file("err"), setup.inputFile) {}

void Program::waitFor(const std::string& stream, const std::string& text) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (;;) {
        const bool ended = !program_.isRunning();
        if (readFile(folder_.file(stream)).find(text) != std::string::npos) {
            return;
        }
        if (ended || std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the program did not write '" + text + "'; it said: " + err());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

}  // namespace tarn::test

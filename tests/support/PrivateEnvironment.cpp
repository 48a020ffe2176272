#include "PrivateEnvironment.h"

#include <unistd.h>

#include <cstdlib>
#include <ranges>

namespace tarn::test {
namespace {

void assign(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
    } else {
        ::unsetenv(name.c_str());
    }
}

}  // namespace

PrivateEnvironment::~PrivateEnvironment() {
    for (const auto& [name, value] : before_ | std::views::reverse) {
        assign(name, value);
    }
}

void PrivateEnvironment::set(const std::string& name, const std::optional<std::string>& value) {
    const char* const old = std::getenv(name.c_str());
    before_.emplace_back(name, old != nullptr ? std::optional<std::string>(old) : std::nullopt);
    assign(name, value);
}

std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>>& changed) {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    for (const auto& [name, value] : changed) {
        auto setting = name;
        setting += '=';
        std::erase_if(environment, [&](const std::string& entry) { return entry.starts_with(setting); });
        environment.push_back(setting + value);
    }
    return environment;
}

}  // namespace tarn::test

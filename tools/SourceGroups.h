#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Options.h"

namespace tarn::cli {

/// The options that belong to one source each. Those in front of the first `--source` hold for all, those
/// behind one for that one alone.
class SourceGroups {
public:
    /// Requires: lives as long as `app` is used.
    explicit SourceGroups(CLI::App& app);

    /// As `app` has parsed them, in order; with an `input` that is the first, also without a `--source`.
    std::vector<SourceOptions> sources(const std::string& input) const;

private:
    /// Gives the n-th value of an option to a source.
    using Apply = std::function<void(SourceOptions&, std::size_t n)>;

    CLI::Option* addText(const char* name, const char* help, std::string SourceOptions::* field);

    CLI::App& app_;
    CLI::Option* source_ = nullptr;
    std::vector<std::string> sourceValues_;
    std::vector<std::string> voiceProcessingValues_;
    std::vector<int> silenceValues_;
    std::map<std::string, std::vector<std::string>> textValues_;
    std::map<const CLI::Option*, Apply> apply_;
};

}  // namespace tarn::cli

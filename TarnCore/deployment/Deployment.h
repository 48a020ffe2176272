#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/net/Url.h"

namespace tarn {

/// Where this installation finds its servers. Value type.
struct DeploymentValues {
    Url apiBase;                    ///< root of the account server's API, path prefix included
    Url webBase;                    ///< root of the web site with the sign-in page
    std::optional<Url> issuesPage;  ///< the issue tracker; nothing where none is configured
    std::string serviceHost;  ///< host, and port where needed, of the direct route; empty: none configured
    bool allowPlainHttp = false;  ///< a server that is not this machine may be reached without TLS
    /// Ways to sign in that the page offers, as far as somebody has told: of "email", "google", "apple",
    /// "github", in the order to be shown.
    std::vector<std::string> signInProviders{};
    bool isCompiledDefault = false;  ///< nobody named a server: `apiBase` is the relay of this machine
};

/// Reads the deployment values: what is compiled in (the local relay), over it a file, over it the
/// environment.
namespace Deployment {

struct Sources {
    std::filesystem::path file;  ///< a missing file sets nothing
    std::function<std::optional<std::string>(const char* name)> variable;

    /// "$XDG_CONFIG_HOME/tarn/deployment.json" (by default "~/.config/tarn/…") and the process's environment.
    static Sources ofProcess();
};

/// Fails with one line that names the file or the variable at fault.
Result<DeploymentValues> load(const Sources& sources);

/// Reads a server's base URL as a person writes one: a URL of scheme http or https, or a bare host name (and
/// port) that stands for https, and for http where it is this machine's. Without a path `usualPath` is meant.
/// Plain http to another machine fails unless `allowPlainHttp`.
Result<Url> parseBase(const std::string& text, const std::string& usualPath, bool allowPlainHttp);

/// True when a token may travel to `url`: over TLS, to this machine, or in the clear where that is allowed.
bool mayCarryToken(const Url& url, bool allowPlainHttp);

/// The process's network for these values. Where nobody named the server, anybody on this machine may be the
/// first to listen at its address: connections then fail unless the listener is this user's or root's.
NetworkContext networkFor(const DeploymentValues& values);

/// The same for a page of `values.webBase` that another program is to open. Thread: any; does not wait.
Result<void> mayOpenPage(const DeploymentValues& values);

/// How requests name their sender.
inline constexpr const char* userAgent = "Tarn (Linux)";

/// This process's values, read on first use. Thread: any.
const Result<DeploymentValues>& current();

/// Of `current()`; empty where that failed or none is configured.
std::string serviceHost();

}  // namespace Deployment

}  // namespace tarn

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "SubtitleFeed.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/webserver/HttpServer.h"

namespace tarn {

/// The subtitles as a web page on the loopback address, for OBS and browsers: `/overlay?key=…`, with
/// `source=1` one source alone and with `show=original`, `translation` or `both` some of the texts. The page
/// is transparent, and CSS variables give its look.
///
/// It answers whoever names this machine and the key, and no page of another origin; nothing is stored.
/// Thread: any; connections live on the network's executor.
class SubtitlePage {
public:
    /// Where `port` is taken, the system picks one.
    static Result<std::unique_ptr<SubtitlePage>> open(const NetworkContext& network, std::uint16_t port,
                                                      std::string key);
    /// Ends all connections.
    ~SubtitlePage();
    SubtitlePage(const SubtitlePage&) = delete;
    SubtitlePage& operator=(const SubtitlePage&) = delete;

    std::uint16_t port() const { return server_->port(); }
    std::string address() const;
    void show(const std::vector<ShownSubtitle>& all);

private:
    struct State;
    class Client;

    SubtitlePage(std::shared_ptr<State> state, std::unique_ptr<HttpServer> server);
    static Task<ServerReply> answer(std::shared_ptr<State> state, ServerRequest request);

    const std::shared_ptr<State> state_;
    const std::unique_ptr<HttpServer> server_;
};

/// The page itself. `nonce`: what its style and its script are allowed by.
std::string subtitlePageText(std::string_view nonce);

}  // namespace tarn

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"
#include "TarnPlatform/audioserver/StandInLinks.h"

namespace tarn {

/// One stream of ours at the desktop's default output, kept for as long as it is followed: it is made for
/// each connection, made anew every half second where the server lets go of it or refuses it, and as soon as
/// it is stale; and it is linked by us where the session manager leaves it unlinked. Thread: the loop, or any
/// under the server's Lock, but for what says otherwise.
class KeptStream : private AudioServerObserver, private GraphStreamHandler {
public:
    KeptStream(const KeptStream&) = delete;
    KeptStream& operator=(const KeptStream&) = delete;

    /// On return nothing is heard or rendered any more. Thread: any but the loop.
    void stop();

protected:
    /// `logTag`: "[dub]" begins the lines that say what became of the stream; empty: none are written.
    KeptStream(AudioServer& server, GraphStream::Description description, std::string logTag);
    /// Requires: stopped.
    ~KeptStream() = default;

    /// `group`: streams of one group share the cycles of one driver; empty: none. Fails where there is no
    /// audio server. Thread: any but the loop, without a Lock.
    Result<void> follow(const std::string& group);
    /// From now on links of ours stand in for the session manager's, and `watched` is called four times a
    /// second.
    void keepLinked();
    virtual void watched() {}
    /// Counts from the next time that the stream is made.
    void setLayout(std::vector<std::string> channelNames, const Properties& more);
    // To make it anew, in this order. Nothing is rendered in between and for a tenth of a second after.
    void dropStream();
    void makeStream();

    AudioServer& server() const { return server_; }
    const GraphStream* stream() const { return stream_.get(); }
    const Result<void>& made() const { return made_; }  ///< how making it went the last time
    bool isLost() const { return lost_; }               ///< and not yet back

private:
    void connected() override;
    void disconnected() override;
    void graphChanged(const Graph& graph) override;
    void streaming() override;
    void ended(const std::string& error) override;

    void makeStreamLater(const std::string& why);

    AudioServer& server_;
    const std::string logTag_;
    // The loop's.
    GraphStream::Description description_;
    std::unique_ptr<GraphStream> stream_;
    std::unique_ptr<AudioServer::Timer> retry_;
    std::unique_ptr<AudioServer::Timer> watch_;
    StandInLinks links_{server_};
    Result<void> made_;
    bool lost_ = false;
};

}  // namespace tarn

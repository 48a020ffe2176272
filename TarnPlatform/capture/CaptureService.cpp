#include "CaptureService.h"

#include <utility>

#include "GraphCapture.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/base/EventQueue.h"

namespace tarn {

namespace {

class GraphCaptureService : public CaptureService {
public:
    explicit GraphCaptureService(AudioServer& server) : server_(server) {}

    Task<Result<ShareableContent>> getShareableContent(bool, bool) override {
        const EventQueue<Result<ShareableContent>> outcome;
        questions_.async([server = &server_, outcome] {
            const auto graph = server->snapshot();
            outcome.push(graph ? Result<ShareableContent>(shareableContent(*graph))
                               : std::unexpected(graph.error()));
        });
        auto content = co_await outcome.next();
        co_return std::move(*content);
    }

    std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                              const StreamConfiguration& configuration,
                                              std::weak_ptr<StreamDelegate> delegate) override {
        return std::make_shared<GraphCapture>(server_, filter, configuration, std::move(delegate));
    }

private:
    AudioServer& server_;
    SerialQueue questions_{"tarn.capture.ask"};
};

}  // namespace

CaptureService& CaptureService::shared() {
    static GraphCaptureService service(AudioServer::shared());
    return service;
}

std::unique_ptr<CaptureService> CaptureService::make(AudioServer& server) {
    return std::make_unique<GraphCaptureService>(server);
}

}  // namespace tarn

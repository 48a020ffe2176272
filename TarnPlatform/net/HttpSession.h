#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "Http.h"
#include "NetworkContext.h"
#include "TarnPlatform/base/Result.h"
#include "Url.h"

namespace tarn {

struct HttpRequest {
    std::string method = "GET";
    Url url;
    std::vector<HttpHeader> headers;
    std::string body;
    std::chrono::milliseconds timeout =
        std::chrono::seconds(60);  ///< from the call to the last byte of the answer
};

struct HttpResponse {
    int status = 0;
    std::vector<HttpHeader> headers;
    std::string body;  ///< 4 MiB at most; a longer answer is a `protocol` failure
};

/// Sends HTTP requests, one connection each, over verified TLS for https. No redirects are followed, so that
/// a bearer token never travels to another host.
class HttpSession {
public:
    virtual ~HttpSession() = default;

    /// An answer of any status is a success here; a failure means that there was no answer.
    /// Thread: any executor; the work runs on the network's and the caller resumes on its own.
    virtual Task<Result<HttpResponse>> send(HttpRequest request) = 0;

    static std::shared_ptr<HttpSession> make(NetworkContext network);
    /// The process's own, on `NetworkContext::shared()`.
    static std::shared_ptr<HttpSession> shared();
};

}  // namespace tarn

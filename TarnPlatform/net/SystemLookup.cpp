#include "SystemLookup.h"

#include <netdb.h>
#include <signal.h>

#include <algorithm>
#include <mutex>
#include <optional>

namespace tarn {
namespace {

using asio::ip::address;

/// The memory that the resolver's thread uses. It stays until the resolver has answered, even where nobody
/// wants the answer any more: gai_cancel cannot stop a lookup that has begun.
struct Question {
    std::string host;
    addrinfo hints{};
    gaicb request{};
    std::mutex mutex;
    std::optional<EventQueue<SystemLookup::Answer>> answers;  ///< empty once nobody waits

    ~Question() {
        if (request.ar_result != nullptr) {
            ::freeaddrinfo(request.ar_result);
        }
    }
};

address toAddress(const sockaddr& socketAddress) {
    if (socketAddress.sa_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(socketAddress);
        asio::ip::address_v6::bytes_type bytes{};
        std::copy_n(reinterpret_cast<const unsigned char*>(&v6.sin6_addr), bytes.size(), bytes.begin());
        return asio::ip::address_v6(bytes, v6.sin6_scope_id);
    }
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(socketAddress);
    asio::ip::address_v4::bytes_type bytes{};
    std::copy_n(reinterpret_cast<const unsigned char*>(&v4.sin_addr), bytes.size(), bytes.begin());
    return asio::ip::address_v4(bytes);
}

SystemLookup::Answer answerOf(int error, const addrinfo* entries) {
    if (error != 0) {
        return failure(ErrorKind::resolution, ::gai_strerror(error));
    }
    std::vector<address> addresses;
    // Names with several services give each address once for each of them.
    for (const auto* entry = entries; entry != nullptr; entry = entry->ai_next) {
        const auto found = toAddress(*entry->ai_addr);
        if (std::ranges::find(addresses, found) == addresses.end()) {
            addresses.push_back(found);
        }
    }
    return addresses;
}

#ifdef TARN_THREAD_SANITIZER

/// The thread sanitizer crashes in a thread that the C library starts on its own, so here the caller waits.
void ask(const std::shared_ptr<Question>& question) {
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(question->request.ar_name, nullptr, &question->hints, &found);
    question->request.ar_result = found;
    question->answers->push(answerOf(error, found));
}

#else

void answered(sigval value) {
    const std::unique_ptr<std::shared_ptr<Question>> held(
        static_cast<std::shared_ptr<Question>*>(value.sival_ptr));
    Question& question = **held;
    const std::lock_guard lock(question.mutex);
    if (question.answers) {
        question.answers->push(answerOf(::gai_error(&question.request), question.request.ar_result));
    }
}

/// Asks on the resolver's own thread.
void ask(const std::shared_ptr<Question>& question) {
    auto held = std::make_unique<std::shared_ptr<Question>>(question);
    sigevent whenDone{};
    whenDone.sigev_notify = SIGEV_THREAD;
    whenDone.sigev_value.sival_ptr = held.get();
    whenDone.sigev_notify_function = answered;
    gaicb* requests[] = {&question->request};
    const int error = ::getaddrinfo_a(GAI_NOWAIT, requests, 1, &whenDone);
    if (error != 0) {
        question->answers->push(failure(ErrorKind::resolution, ::gai_strerror(error)));
    } else {
        [[maybe_unused]] const auto* const given = held.release();  // the resolver's thread takes it back
    }
}

#endif

}  // namespace

SystemLookup SystemLookup::start(std::string host) {
    SystemLookup lookup;
    const auto question = std::make_shared<Question>();
    question->host = std::move(host);
    question->hints.ai_socktype = SOCK_STREAM;
    question->request.ar_name = question->host.c_str();
    question->request.ar_request = &question->hints;
    question->answers = lookup.answers;
    lookup.asked = std::shared_ptr<void>(nullptr, [question](void*) {
        const std::lock_guard lock(question->mutex);
        question->answers.reset();
    });

    ask(question);
    return lookup;
}

}  // namespace tarn

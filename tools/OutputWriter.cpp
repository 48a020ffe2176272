#include "OutputWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

namespace tarn::cli {

Result<asio::posix::stream_descriptor> openStandardStream(int number, const SerialExecutor& executor) {
    struct stat status{};
    int own = -1;
    // Writing to a file never blocks, and its offset may be shared with other programs.
    if (::fstat(number, &status) == 0 && !S_ISREG(status.st_mode)) {
        const std::string path = "/proc/self/fd/" + std::to_string(number);
        own = ::open(path.c_str(),
                     (number == STDIN_FILENO ? O_RDONLY : O_WRONLY) | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }
    if (own < 0) {
        own = ::fcntl(number, F_DUPFD_CLOEXEC, 3);
    }
    asio::posix::stream_descriptor descriptor(executor);
    boost::system::error_code error;
    if (own < 0) {
        error.assign(errno, boost::system::system_category());
    } else {
        descriptor.assign(own, error);
    }
    if (error) {
        return tarn::failure(ErrorKind::system, error.message());
    }
    return descriptor;
}

OutputWriter::OutputWriter(const SerialExecutor& executor) : state_(std::make_shared<State>(executor)) {}

Task<void> OutputWriter::writeAll(std::shared_ptr<State> state) {
    auto output = openStandardStream(STDOUT_FILENO, state->executor);
    boost::system::error_code failed;
    while (output && !failed) {
        const auto text = co_await state->texts.next();
        if (!text) {
            co_return;
        }
        const auto [error, size] = co_await asio::async_write(*output, asio::buffer(*text), asValue);
        failed = error;
    }
    state->failure = output ? failed.message() : output.error().description;
    state->failed.cancel();
}

Task<void> OutputWriter::waitFor(std::shared_ptr<State> state) {
    while (!state->failure) {
        co_await state->failed.async_wait(asValue);
    }
}

}  // namespace tarn::cli

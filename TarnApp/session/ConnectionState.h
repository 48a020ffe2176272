#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace tarn {

/// Where a session stands. Value type; two are equal when the case is and, for an error, the reason.
class ConnectionState {
public:
    enum class Case : unsigned char {
        idle,        ///< nothing runs
        connecting,  ///< a start is under way
        running,     ///< capture, streaming and playback run
        stopping,    ///< a stop takes the run apart
        error,       ///< the last start failed, or the service complained during the run
    };

    static ConnectionState idle() { return ConnectionState(Case::idle); }
    static ConnectionState connecting() { return ConnectionState(Case::connecting); }
    static ConnectionState running() { return ConnectionState(Case::running); }
    static ConnectionState stopping() { return ConnectionState(Case::stopping); }
    static ConnectionState error(std::string reason) {
        return ConnectionState(Case::error, std::move(reason));
    }

    /// "idle", …
    static constexpr std::string_view nameOf(Case kind) {
        switch (kind) {
            case Case::idle:
                return "idle";
            case Case::connecting:
                return "connecting";
            case Case::running:
                return "running";
            case Case::stopping:
                return "stopping";
            case Case::error:
                break;
        }
        return "error";
    }

    ConnectionState() = default;

    Case kind() const { return kind_; }
    const std::string& reason() const { return reason_; }  ///< of an error; otherwise empty
    /// Whether a run is under way or on its way.
    bool isActive() const { return kind_ == Case::connecting || kind_ == Case::running; }

    bool operator==(const ConnectionState&) const = default;

private:
    explicit ConnectionState(Case kind, std::string reason = {}) : kind_(kind), reason_(std::move(reason)) {}

    Case kind_ = Case::idle;
    std::string reason_;
};

}  // namespace tarn

#include "StateLook.h"

#include <algorithm>
#include <array>

#include "TarnApp/session/ConnectionState.h"

namespace tarn {
namespace {

struct Look {
    ConnectionState::Case state;
    const char* light;
    const char* labelKey;
};

constexpr std::array looks{
    Look{ConnectionState::Case::idle, "grey", "statusIdle"},
    Look{ConnectionState::Case::connecting, "yellow", "statusConnecting"},
    Look{ConnectionState::Case::running, "green", "statusRunning"},
    Look{ConnectionState::Case::stopping, "orange", "statusStopping"},
    Look{ConnectionState::Case::error, "red", "statusError"},
};

const Look& lookOf(const QString& state) {
    const auto name = state.toStdString();
    const auto* const found =
        std::ranges::find(looks, name, [](const Look& look) { return ConnectionState::nameOf(look.state); });
    return found != looks.end() ? *found : looks.front();
}

}  // namespace

QString StateLook::light(const QString& state) {
    return QString::fromLatin1(lookOf(state).light);
}

QString StateLook::labelKey(const QString& state) {
    return QString::fromLatin1(lookOf(state).labelKey);
}

}  // namespace tarn

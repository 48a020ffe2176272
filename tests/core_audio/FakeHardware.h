#pragma once

#include "TarnPlatform/audioserver/AudioHardware.h"
#include "TarnPlatform/audioserver/MicrophoneAccess.h"

namespace tarn::test {

/// Devices that a test makes up.
class FakeHardware : public AudioHardware {
public:
    Result<HardwareList> list;

    Result<HardwareList> read() override { return list; }
};

/// A permission that a test makes up.
class FakeAccess : public MicrophoneAccess {
public:
    AuthorizationStatus now = AuthorizationStatus::authorized;
    bool answer = false;
    int asked = 0;

    AuthorizationStatus status() override { return now; }
    Task<bool> requestAccess() override {
        ++asked;
        co_return answer;
    }
};

}  // namespace tarn::test

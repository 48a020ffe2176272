#include "MicSession.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "AudioDevices.h"
#include "MicPermission.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"

namespace tarn {
namespace {

constexpr std::uint32_t tapFrames = 1024;

const char* text(bool value) {
    return value ? "true" : "false";
}

bool isMainThread() {
    return ::gettid() == ::getpid();
}

std::string text(const AudioFormat& format) {
    return decimalText(format.sampleRate) + "Hz " + std::to_string(format.channelCount) + "ch";
}

std::unexpected<MicError> invalid(const AudioFormat& format) {
    return std::unexpected(MicError{MicError::InvalidInputFormat{format.sampleRate, format.channelCount}});
}

std::unexpected<MicError> engineFailed(std::string message) {
    return std::unexpected(MicError{MicError::EngineFailed{std::move(message)}});
}

bool isUsable(const AudioFormat& format) {
    return format.sampleRate > 0 && format.channelCount != 0;
}

}  // namespace

MicSession::MicSession() : MicSession(Parts()) {}

MicSession::MicSession(Parts parts)
    : engine_(std::move(parts.engine)), hardware_(*parts.hardware), access_(*parts.access) {}

std::expected<void, MicError> MicSession::start(float rate, bool voiceProcessing,
                                                const std::optional<std::string>& preferredDeviceUID) {
    logLine(std::string("[mic] start() entered. mainThread=") + text(isMainThread()) +
            " vp=" + text(voiceProcessing) + " preferredUID=" + preferredDeviceUID.value_or("<nil>"));

    const AuthorizationStatus status = MicPermission::status(access_);
    const bool authorized = status == AuthorizationStatus::authorized;
    logLine("[mic] permission status raw=" + std::to_string(static_cast<int>(status)) +
            " (authorized=" + text(authorized) + ")");
    if (!authorized) {
        return std::unexpected(MicError{MicError::PermissionDenied()});
    }

    probe("EARLY input format: ");
    if (preferredDeviceUID) {
        if (auto routed = route(*preferredDeviceUID); !routed) {
            return routed;
        }
    }
    if (const AudioFormat format = probe("FINAL probe format: "); !isUsable(format)) {
        return invalid(format);
    }
    chain_.connect(*engine_, rate);
    if (voiceProcessing) {
        enableVoiceProcessing();
    }
    if (auto tapped = installTap(); !tapped) {
        return tapped;
    }
    return startEngine();
}

AudioFormat MicSession::probe(const char* label) {
    AudioFormat format = engine_->inputNode().inputFormat(0);
    logLine("[mic] " + std::string(label) + text(format));
    return format;
}

MicSession::Step MicSession::route(const std::string& uid) {
    const auto inputs = AudioDevices::inputs(hardware_);
    const auto device = std::ranges::find(inputs, uid, &AudioInputDevice::id);
    if (device == inputs.end()) {
        return {};
    }
    const auto standard = AudioDevices::defaultInput(hardware_);
    if (standard && standard->id == uid) {
        logLine("[mic] preferred UID == system default; skipping setProperty");
        // The choice is this device, not the default. Where it has just gone, the default is what is left.
        if (AudioUnit* const unit = engine_->inputNode().audioUnit(); unit != nullptr) {
            static_cast<void>(unit->keepCurrentDevice(standard->deviceID));
        }
        return {};
    }
    logLine("[mic] routing input to device: " + device->name + " (uid=" + uid + ")");
    auto set = setInputDevice(*engine_, device->deviceID);
    if (set) {
        probe("after setDevice format: ");
    }
    return set;
}

MicSession::Step MicSession::setInputDevice(AudioEngine& engine, std::uint32_t deviceID) {
    AudioUnit* const unit = engine.inputNode().audioUnit();
    if (unit == nullptr) {
        return engineFailed("inputNode.audioUnit is nil");
    }
    if (const int status = unit->setCurrentDevice(deviceID); status != 0) {
        return engineFailed("setProperty(CurrentDevice) failed status=" + std::to_string(status));
    }
    return {};
}

void MicSession::enableVoiceProcessing() {
    AudioInputNode& input = engine_->inputNode();
    if (const auto enabled = input.setVoiceProcessingEnabled(true); !enabled) {
        logLine("[mic] voice processing unavailable: " + enabled.error().description +
                "; proceeding without AEC");
        return;
    }
    voiceProcessingOn_ = true;
    const AudioFormat format = probe("after VP enable: ");
    if (format.sampleRate == 0 || format.channelCount == 0) {
        logLine("[mic] VP corrupted input format — rolling back");
        disableVoiceProcessing();
    }
}

void MicSession::disableVoiceProcessing() {
    // What cannot be disabled has done its harm already.
    [[maybe_unused]] const auto disabled = engine_->inputNode().setVoiceProcessingEnabled(false);
    voiceProcessingOn_ = false;
}

MicSession::Step MicSession::installTap() {
    AudioInputNode& input = engine_->inputNode();
    const AudioFormat format = input.inputFormat(0);
    logLine("[mic] tap format: " + text(format) + " vp=" + text(voiceProcessingOn_));
    if (!isUsable(format)) {
        return invalid(format);
    }
    input.installTap(0, tapFrames, format, [weak = weak_from_this()](const PcmBuffer& buffer) {
        if (const auto self = weak.lock()) {
            self->captured(buffer);
        }
    });
    tapInstalled_ = true;
    return {};
}

MicSession::Step MicSession::startEngine() {
    engine_->prepare();
    if (const auto started = engine_->start(); !started) {
        stop();
        return engineFailed(started.error().description);
    }
    chain_.play();
    return {};
}

void MicSession::captured(const PcmBuffer& buffer) {
    const auto first = buffer.format().channelCount >= 2 ? extractChannel0(buffer) : std::nullopt;
    const PcmBuffer& taken = first ? *first : buffer;
    if (onPCM) {
        onPCM(taken);
    }
    if (onLevel) {
        onLevel(rms(taken));
    }
}

void MicSession::stop() {
    chain_.stop();
    AudioInputNode& input = engine_->inputNode();
    if (std::exchange(tapInstalled_, false)) {
        input.removeTap(0);
    }
    if (engine_->isRunning()) {
        engine_->stop();
    }
    if (voiceProcessingOn_) {
        disableVoiceProcessing();
    }
}

}  // namespace tarn

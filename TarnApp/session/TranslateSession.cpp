#include "TranslateSession.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace tarn {

TranslateSession::TranslateSession(std::string storageNamespace, std::shared_ptr<UserDefaults> defaults,
                                   SessionServices services)
    : defaults_(std::move(defaults)),
      storageNamespace_(std::move(storageNamespace)),
      services_(std::move(services)) {
    sourceLang_ = loadText("sourceLang", "zh");
    targetLang_ = loadText("targetLang", "en");
    voice_ = loadText("voice", "");
    voiceClone_ = loadText("voiceClone", "none");
    const std::int64_t silence = defaults_->integer(key("silenceMs")).value_or(2000);
    silenceMs_ = std::in_range<int>(silence) ? static_cast<int>(silence) : 2000;
    captureSource_ = tarn::captureSource(loadText("captureSource", "system")).value_or(CaptureSource::system);
    micDeviceUID_ = loadText("micDeviceUID", "");
    applicationBundleID_ = loadText("applicationBundleID", "");
    applicationName_ = loadText("applicationName", "");
    voiceProcessing_ = defaults_->boolean(key("voiceProcessing")).value_or(true);
}

std::string TranslateSession::loadText(const char* field, const char* absent) const {
    return defaults_->string(key(field)).value_or(absent);
}

void TranslateSession::takeCaptureSource(const QString& raw) {
    if (const auto known = tarn::captureSource(raw.toStdString())) {
        setCaptureSource(*known);
    }
}

QString TranslateSession::stateText() const {
    const auto name = ConnectionState::nameOf(state_.kind());
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

QStringList TranslateSession::healthNames() const {
    QStringList names;
    for (const auto& [fault, value] : health_) {
        const auto name = nameOf(fault);
        names.push_back(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
    }
    return names;
}

QStringList TranslateSession::healthValueTexts() const {
    QStringList values;
    for (const auto& [fault, value] : health_) {
        values.push_back(QString::fromStdString(value));
    }
    return values;
}

QString TranslateSession::captureSourceText() const {
    const std::string_view raw = rawValue(captureSource_);
    return QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size()));
}

void TranslateSession::setSourceLang(std::string value) {
    sourceLang_ = std::move(value);
    Q_EMIT sourceLangChanged();
    defaults_->set(key("sourceLang"), sourceLang_);
}

void TranslateSession::setTargetLang(std::string value) {
    targetLang_ = std::move(value);
    Q_EMIT targetLangChanged();
    defaults_->set(key("targetLang"), targetLang_);
}

void TranslateSession::suggestLanguages(const std::string& source, const std::string& target) {
    if (!hasChosenSourceLang() && sourceLang_ != source) {
        sourceLang_ = source;
        Q_EMIT sourceLangChanged();
    }
    if (!hasChosenTargetLang() && targetLang_ != target) {
        targetLang_ = target;
        Q_EMIT targetLangChanged();
    }
}

void TranslateSession::setVoice(std::string value) {
    voice_ = std::move(value);
    Q_EMIT voiceChanged();
    defaults_->set(key("voice"), voice_);
}

void TranslateSession::setVoiceClone(std::string value) {
    voiceClone_ = std::move(value);
    Q_EMIT voiceCloneChanged();
    defaults_->set(key("voiceClone"), voiceClone_);
}

void TranslateSession::setSilenceMs(int value) {
    silenceMs_ = value;
    Q_EMIT silenceMsChanged();
    defaults_->set(key("silenceMs"), std::int64_t{silenceMs_});
}

void TranslateSession::setCaptureSource(CaptureSource value) {
    captureSource_ = value;
    Q_EMIT captureSourceChanged();
    defaults_->set(key("captureSource"), std::string(rawValue(captureSource_)));
}

void TranslateSession::setMicDeviceUID(std::string value) {
    micDeviceUID_ = std::move(value);
    Q_EMIT micDeviceUIDChanged();
    defaults_->set(key("micDeviceUID"), micDeviceUID_);
}

void TranslateSession::setApplicationBundleID(std::string value) {
    applicationBundleID_ = std::move(value);
    Q_EMIT applicationBundleIDChanged();
    defaults_->set(key("applicationBundleID"), applicationBundleID_);
}

void TranslateSession::setApplicationName(std::string value) {
    applicationName_ = std::move(value);
    Q_EMIT applicationNameChanged();
    defaults_->set(key("applicationName"), applicationName_);
}

void TranslateSession::setVoiceProcessing(bool value) {
    voiceProcessing_ = value;
    Q_EMIT voiceProcessingChanged();
    defaults_->set(key("voiceProcessing"), voiceProcessing_);
}

void TranslateSession::setState(ConnectionState value) {
    state_ = std::move(value);
    Q_EMIT stateChanged();
    showHealth();
}

void TranslateSession::setErrorMessage(std::optional<std::string> value) {
    errorMessage_ = std::move(value);
    Q_EMIT errorMessageChanged();
}

}  // namespace tarn

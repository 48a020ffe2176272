#include "TranslateSession.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace tarn {
namespace {

// These convert settings to the types in which they are stored.
std::string stored(const QString& value) {
    return value.toStdString();
}
std::string stored(CaptureSource value) {
    return std::string(rawValue(value));
}
std::int64_t stored(int value) {
    return value;
}
bool stored(bool value) {
    return value;
}

QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

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
    captureSource_ = tarn::captureSource(loadText("captureSource", "system").toStdString())
                         .value_or(CaptureSource::system);
    micDeviceUID_ = loadText("micDeviceUID", "");
    applicationBundleID_ = loadText("applicationBundleID", "");
    applicationName_ = loadText("applicationName", "");
    voiceProcessing_ = defaults_->boolean(key("voiceProcessing")).value_or(true);
}

QString TranslateSession::loadText(const char* field, const char* absent) const {
    return QString::fromStdString(defaults_->string(key(field)).value_or(absent));
}

void TranslateSession::setCaptureSourceName(const QString& name) {
    if (const auto known = tarn::captureSource(name.toStdString())) {
        setCaptureSource(*known);
    }
}

QString TranslateSession::stateName() const {
    return qString(ConnectionState::nameOf(state_.kind()));
}

QStringList TranslateSession::healthNames() const {
    QStringList names;
    for (const auto& [fault, value] : health_) {
        names.push_back(qString(nameOf(fault)));
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

QString TranslateSession::captureSourceName() const {
    return qString(rawValue(captureSource_));
}

/// A value that is the same as before is stored too, since the user has now chosen it.
template <typename Value>
void TranslateSession::assign(Value& field, const std::type_identity_t<Value>& value,
                              void (TranslateSession::*changed)(), const char* name) {
    field = value;
    Q_EMIT(this->*changed)();
    defaults_->set(key(name), stored(field));
}

void TranslateSession::setSourceLang(const QString& value) {
    assign(sourceLang_, value, &TranslateSession::sourceLangChanged, "sourceLang");
}

void TranslateSession::setTargetLang(const QString& value) {
    assign(targetLang_, value, &TranslateSession::targetLangChanged, "targetLang");
}

void TranslateSession::setVoice(const QString& value) {
    assign(voice_, value, &TranslateSession::voiceChanged, "voice");
}

void TranslateSession::setVoiceClone(const QString& value) {
    assign(voiceClone_, value, &TranslateSession::voiceCloneChanged, "voiceClone");
}

void TranslateSession::setSilenceMs(int value) {
    assign(silenceMs_, value, &TranslateSession::silenceMsChanged, "silenceMs");
}

void TranslateSession::setCaptureSource(CaptureSource value) {
    assign(captureSource_, value, &TranslateSession::captureSourceChanged, "captureSource");
}

void TranslateSession::setMicDeviceUID(const QString& value) {
    assign(micDeviceUID_, value, &TranslateSession::micDeviceUIDChanged, "micDeviceUID");
}

void TranslateSession::setApplicationBundleID(const QString& value) {
    assign(applicationBundleID_, value, &TranslateSession::applicationBundleIDChanged, "applicationBundleID");
}

void TranslateSession::setApplicationName(const QString& value) {
    assign(applicationName_, value, &TranslateSession::applicationNameChanged, "applicationName");
}

void TranslateSession::setVoiceProcessing(bool value) {
    assign(voiceProcessing_, value, &TranslateSession::voiceProcessingChanged, "voiceProcessing");
}

void TranslateSession::suggestLanguages(const QString& source, const QString& target) {
    if (!hasChosenSourceLang() && sourceLang_ != source) {
        sourceLang_ = source;
        Q_EMIT sourceLangChanged();
    }
    if (!hasChosenTargetLang() && targetLang_ != target) {
        targetLang_ = target;
        Q_EMIT targetLangChanged();
    }
}

void TranslateSession::setState(ConnectionState value) {
    state_ = std::move(value);
    Q_EMIT stateChanged();
    showHealth();
}

void TranslateSession::setErrorMessage(const QString& value) {
    errorMessage_ = value;
    Q_EMIT errorMessageChanged();
}

}  // namespace tarn

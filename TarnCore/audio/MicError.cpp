#include "MicError.h"

#include "TarnPlatform/text/DecimalText.h"
#include "TarnPlatform/text/PreferredLanguages.h"

namespace tarn {
namespace {

struct Texts {
    bool chinese;

    std::string operator()(const MicError::InvalidInputFormat& format) const {
        const std::string rate = decimalText(format.sampleRate);
        const std::string channels = std::to_string(format.channels);
        return chinese ? "麦克风输入格式无效（采样率 " + rate + "Hz, 声道数 " + channels +
                             "）。设备可能未连接或权限缺失。"
                       : "Invalid microphone input format (sample rate " + rate + "Hz, " + channels +
                             " channel(s)). The device may be disconnected or lack permission.";
    }
    std::string operator()(const MicError::EngineFailed& failed) const {
        return (chinese ? "音频引擎启动失败：" : "Audio engine failed to start: ") + failed.message;
    }
    std::string operator()(const MicError::PermissionDenied&) const {
        return chinese
                   ? "麦克风访问已关闭。请在「系统设置 → 隐私与安全性 → 麦克风」中开启 Tarn。"
                   : "Microphone access is off. Turn on Tarn under System Settings → Privacy & Security → "
                     "Microphone.";
    }
};

}  // namespace

std::string MicError::errorDescription() const {
    return std::visit(Texts{preferredTextLanguage() == TextLanguage::chinese}, reason);
}

}  // namespace tarn

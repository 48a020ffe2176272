// Why sound cannot be heard or spoken: TARN_TEXT(key, English, Simplified Chinese). Whoever includes this
// defines TARN_TEXT first and undefines it after.

TARN_TEXT(invalidInputFormat,
          "Invalid microphone input format (sample rate %1Hz, %2 channel(s)). The device may be disconnected "
          "or lack permission.",
          "麦克风输入格式无效（采样率 %1Hz, 声道数 %2）。设备可能未连接或权限缺失。")
TARN_TEXT(engineFailed, "Audio engine failed to start: %1", "音频引擎启动失败：%1")
TARN_TEXT(permissionDenied,
          "Microphone access is off. Turn on Tarn under System Settings → Privacy & Security → Microphone.",
          "麦克风访问已关闭。请在「系统设置 → 隐私与安全性 → 麦克风」中开启 Tarn。")
TARN_TEXT(appNotFound,
          "App '%1' isn't running or isn't visible. Refresh the app list, or open the app first.",
          "应用 '%1' 未运行或不可见。请刷新应用列表或先打开该应用。")

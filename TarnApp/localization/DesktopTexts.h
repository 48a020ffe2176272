// What the interface says on this desktop in the place of texts of LocTexts.h: TARN_TEXT(key, English,
// Simplified Chinese), with keys of that table. Whoever includes this defines TARN_TEXT first and undefines
// it after.

TARN_TEXT(loginSignedInAs, "Signed in as %1", "已登录：%1")

// The button to sign in stands in the window; which ways there are, its page in the browser tells.
TARN_TEXT(helpSignInToStart, "Sign in to start translating: the “Sign in” button is at the end of this bar.",
          "登录后才能开始翻译：“登录”按钮在本栏末端。")
TARN_TEXT(loginSubtitle,
          "Your browser opens the sign-in page and brings you right back. You can also do this later — Next "
          "still works.",
          "将在浏览器中打开登录页面，完成后自动返回。也可以稍后再登录——“下一步”依然可用。")

// Nobody grants anything here: the audio server can be reached, or it cannot.
TARN_TEXT(permTitle, "Sound on this computer", "这台电脑的声音")
TARN_TEXT(
    permSubtitle,
    "Tarn hears and speaks through the audio server, PipeWire. It has to run; there is nothing to allow.",
    "Tarn 通过音频服务器 PipeWire 收听和播放声音。它需要正在运行，除此之外无需授权。")
TARN_TEXT(permFootnote, "If something is missing, “tarn doctor” in a terminal says what to do.",
          "若有缺失，在终端运行“tarn doctor”可查看解决办法。")
TARN_TEXT(permGrant, "Check", "检查")
TARN_TEXT(permGranted, "Ready", "就绪")
TARN_TEXT(permGrantedRelaunch, "Ready · relaunch", "就绪 · 需重启")
TARN_TEXT(permOpenSettings, "Sound settings", "声音设置")
TARN_TEXT(permScreenName, "Other apps", "其他应用")
TARN_TEXT(permScreenDesc, "To translate what they play, never your screen.",
          "用于翻译它们播放的声音，绝不录制屏幕。")
TARN_TEXT(jitScreenTitle, "Tarn cannot hear other apps", "Tarn 听不到其他应用")
TARN_TEXT(jitScreenBody,
          "The audio server, PipeWire, cannot be reached. This closes by itself as soon as it can be; “tarn "
          "doctor” in a terminal says what to do.",
          "无法连接音频服务器 PipeWire。恢复后此提示会自动关闭；在终端运行“tarn doctor”可查看解决办法。")
TARN_TEXT(jitOpenSettings, "Sound settings", "声音设置")
TARN_TEXT(reopenSetup, "Setup & sound…", "设置与声音…")
TARN_TEXT(permissionsStatus, "Sound", "声音")
TARN_TEXT(errMicDenied, "Tarn cannot use the microphone: “tarn doctor” in a terminal says what to do.",
          "Tarn 无法使用麦克风：在终端运行“tarn doctor”可查看解决办法。")

TARN_TEXT(helpAEC,
          "Takes echo and noise out of the microphone, evens its level and turns other apps down while the "
          "translation speaks. On by default.",
          "消除麦克风中的回声和噪声，稳定音量，并在播放译文时压低其他应用的音量。默认开启。")

// The texts of the interface that have a fixed wording: TARN_TEXT(key, English, Simplified Chinese), in the
// order of the keys. Whoever includes this defines TARN_TEXT first and undefines it after. Every key has both
// texts, or this does not compile. What is not true of this desktop has another wording in DesktopTexts.h,
// and so has the text with "%@", since what is shown has its arguments as "%1".

// Main window: sources and account
TARN_TEXT(modeSolo, "Solo", "Solo")
TARN_TEXT(modeConversation, "Conversation", "对话")
TARN_TEXT(sourceSystem, "System Audio", "系统音频")
TARN_TEXT(sourceMic, "Microphone", "麦克风")
TARN_TEXT(sourceApplication, "App", "应用")
TARN_TEXT(start, "Start", "启动")
TARN_TEXT(stop, "Stop", "停止")
TARN_TEXT(addSource, "Add source", "加源")
TARN_TEXT(signIn, "Sign in", "登录")
TARN_TEXT(signOut, "Sign out", "退出登录")
TARN_TEXT(account, "Account", "账户")
TARN_TEXT(notSignedIn, "Not signed in", "未登录")
TARN_TEXT(signedIn, "Signed in", "已登录")
TARN_TEXT(feedback, "Feedback", "反馈")
TARN_TEXT(connecting, "Connecting…", "连接中…")
TARN_TEXT(captureSource, "Capture source", "捕获源")
TARN_TEXT(systemAudioAll, "System Audio (all)", "系统音频（全部）")
TARN_TEXT(microphone, "Microphone", "麦克风")
TARN_TEXT(micDevices, "Microphone device", "麦克风设备")
TARN_TEXT(device, "Device", "设备")
TARN_TEXT(systemDefault, "System default", "系统默认")
TARN_TEXT(refreshDevices, "Refresh devices", "刷新设备列表")
TARN_TEXT(captureSingleApp, "Capture a single app", "捕获单个应用")
TARN_TEXT(appListLoading, "(loading app list…)", "（应用列表加载中…）")
TARN_TEXT(refreshAppList, "Refresh app list", "刷新应用列表")
TARN_TEXT(notStarted, "Not started", "未启动")
TARN_TEXT(translatedPlaceholder, "Translated text will appear here", "翻译结果将显示在这里")

// States of a session
TARN_TEXT(statusIdle, "Idle", "未启动")
TARN_TEXT(statusConnecting, "Connecting", "连接中")
TARN_TEXT(statusRunning, "Running", "运行中")
TARN_TEXT(statusStopping, "Stopping", "停止中")
TARN_TEXT(statusError, "Error", "错误")

// Tooltips and hints
TARN_TEXT(helpModeToggle, "Solo: one source. Conversation: two sources, split subtitles.",
          "Solo：单源翻译。对话：双源各自翻译，字幕左右分屏。")
TARN_TEXT(helpStartStop, "Start / stop all translation sources", "启动/停止全部翻译源")
TARN_TEXT(helpSignInToStart, "Sign in to start translating (open the ⋯ panel → Account → Sign in).",
          "登录后才能开始翻译（打开 ⋯ 面板 → 账户 → 登录）。")
TARN_TEXT(loading, "loading…", "加载中…")

// Onboarding
TARN_TEXT(onboardingWindowTitle, "Welcome to Tarn", "欢迎使用 Tarn")
TARN_TEXT(navBack, "Back", "上一步")
TARN_TEXT(navNext, "Next", "下一步")
TARN_TEXT(startUsingTarn, "Start using Tarn", "开始使用 Tarn")
TARN_TEXT(introTitle1, "Dub anything you hear", "听到什么，配音什么")
TARN_TEXT(introBody1,
          "Tarn translates live system audio — videos, calls, anything playing — into a voice you "
          "understand, in real time.",
          "Tarn 实时翻译系统音频——视频、通话、任何正在播放的声音——并用你听得懂的语音播放出来。")
TARN_TEXT(introTitle2, "Conversation mode", "对话模式")
TARN_TEXT(introBody2,
          "Translate two sources at once with side-by-side subtitles — perfect for a face-to-face "
          "conversation across languages.",
          "同时翻译两个音源，字幕左右分屏——面对面跨语言交流的利器。")
TARN_TEXT(loginSubtitle,
          "Use your email, or one tap with Google, Apple, or GitHub. We'll open your browser and bring you "
          "right back. You can also do this later — Next still works.",
          "可使用邮箱登录，或一键使用 "
          "Google、Apple、GitHub。我们会打开浏览器，完成后自动返回。也可以稍后再登录——“下一步”依然可用。")
TARN_TEXT(loginWaiting, "Waiting for sign-in… complete it in your browser.", "等待登录…请在浏览器中完成。")
TARN_TEXT(loginWhyTitle, "Why an account?", "为什么需要账户？")
TARN_TEXT(loginWhyDismiss, "Got it", "知道了")
TARN_TEXT(loginWhyLink, "Why an account?", "为什么需要账户？")
TARN_TEXT(loginSignedIn, "Signed in", "已登录")
TARN_TEXT(loginSignedInAs, "Signed in as %@", "已登录：%@")
TARN_TEXT(loginProviderEmail, "Email", "邮箱")

// Permissions and the screen-recording prompt
TARN_TEXT(permTitle, "Two quick permissions", "两个小权限")
TARN_TEXT(permSubtitle,
          "Grant these now, or skip — Tarn will ask again the first time you actually need each one.",
          "现在授权，或先跳过——首次真正用到时，Tarn 会再次询问。")
TARN_TEXT(
    permFootnote,
    "You can skip and grant later. Tarn asks for each permission in context the first time you hit Start.",
    "可以先跳过，稍后再授权。首次点击启动时，Tarn 会在对应场景下请求每项权限。")
TARN_TEXT(permGrant, "Grant", "授权")
TARN_TEXT(permGranted, "Granted", "已授权")
TARN_TEXT(permGrantedRelaunch, "Granted · relaunch", "已授权 · 需重启")
TARN_TEXT(permRelaunch, "Relaunch Tarn", "重新启动 Tarn")
TARN_TEXT(permOpenSettings, "Open Settings", "打开设置")
TARN_TEXT(permMicName, "Microphone", "麦克风")
TARN_TEXT(permMicDesc, "To translate your own voice in mic mode.", "用于在麦克风模式下翻译你自己的声音。")
TARN_TEXT(permScreenName, "Screen Recording", "屏幕录制")
TARN_TEXT(permScreenDesc, "Captures other apps' audio — we never record your screen.",
          "捕获其他应用的音频——我们绝不录制你的屏幕。")
TARN_TEXT(jitScreenTitle, "Let Tarn hear other apps", "让 Tarn 听到其他应用")
TARN_TEXT(
    jitScreenBody,
    "macOS files system audio under “Screen Recording”. Turn on Tarn there, then relaunch — we only read the "
    "sound, never your screen.",
    "macOS 把系统音频归类在“屏幕录制”权限下。请在那里开启 Tarn，然后重启——我们只读取声音，绝不录制你的屏幕。")
TARN_TEXT(jitOpenSettings, "Open System Settings", "打开系统设置")
TARN_TEXT(jitRelaunch, "Relaunch Tarn", "重新启动 Tarn")
TARN_TEXT(reopenSetup, "Setup & permissions…", "设置与权限…")
TARN_TEXT(permissionsStatus, "Permissions", "权限")

// Playback, display, settings chips and language pickers
TARN_TEXT(playback, "Playback", "播放")
TARN_TEXT(playbackSpeed, "Speed", "语速")
TARN_TEXT(playbackVolume, "Volume", "音量")
TARN_TEXT(helpPlayback, "Playback — speed & volume", "播放——语速与音量")
TARN_TEXT(helpFont, "Subtitle size", "字幕字号")
TARN_TEXT(helpSettings, "Translation settings (Clone / Voice / AEC / VAD)",
          "翻译设置（克隆 / 音色 / 回声消除 / VAD）")
TARN_TEXT(helpMini, "Mini mode (subtitles only)", "Mini 模式（仅字幕）")
TARN_TEXT(removeSource, "Remove this source", "移除此源")
TARN_TEXT(chipClone, "Clone", "克隆")
TARN_TEXT(chipVoice, "Voice", "音色")
TARN_TEXT(chipAEC, "AEC", "回声消除")
TARN_TEXT(chipVAD, "VAD", "VAD")
TARN_TEXT(cloneNone, "No clone", "不克隆")
TARN_TEXT(cloneOnce, "Once", "首次")
TARN_TEXT(cloneAlways, "Always", "持续")
TARN_TEXT(displayTitle, "Display", "显示")
TARN_TEXT(subtitleSize, "Subtitle size", "字幕字号")
TARN_TEXT(resetToDefault, "Reset to 1.0×", "重置为 1.0×")
TARN_TEXT(interfaceLanguage, "Interface language", "界面语言")
TARN_TEXT(langFollowSystem, "Follow system", "跟随系统")
TARN_TEXT(langEnglish, "English", "English")
TARN_TEXT(langChinese, "简体中文", "简体中文")
TARN_TEXT(helpAEC,
          "Apple voice processing: AEC + noise reduction + AGC + auto-ducking of other apps. On by default.",
          "Apple 语音处理：回声消除 + 降噪 + AGC + 自动压低其他 app 音量。默认开启。")
TARN_TEXT(helpOutputGain, "Output volume. 0–1000% (maps to -∞..+20 dB). +24 dB is the EQ hard ceiling.",
          "输出音量。0–1000%（映射到 -∞..+20 dB）。+24 dB 是 EQ 物理上限。")
TARN_TEXT(langSourceLabel, "Source", "源")
TARN_TEXT(langTargetLabel, "Target", "目标")
TARN_TEXT(langAutoDetect, "Auto-detect", "自动检测")
TARN_TEXT(cancel, "Cancel", "取消")

// Errors
TARN_TEXT(errSessionExpired, "Session expired — please sign in again", "会话已过期——请重新登录")
TARN_TEXT(errMicDenied,
          "Microphone access is off. Turn on Tarn under System Settings → Privacy & Security → Microphone.",
          "麦克风访问已关闭。请在「系统设置 → 隐私与安全性 → 麦克风」中开启 Tarn。")

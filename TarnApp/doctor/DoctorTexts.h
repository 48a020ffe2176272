// What the checks say: TARN_TEXT(key, English, Simplified Chinese). Whoever includes this defines TARN_TEXT
// first and undefines it after.

// The names of the checks, in a column.
TARN_TEXT(nameAudioServer, "audio server", "音频服务器")
TARN_TEXT(nameSessionManager, "session manager", "会话管理器")
TARN_TEXT(nameDefaultOutput, "default output", "默认输出")
TARN_TEXT(nameDefaultInput, "default input", "默认输入")
TARN_TEXT(nameCapture, "capture", "捕获")
TARN_TEXT(nameMicrophones, "microphones", "麦克风")
TARN_TEXT(nameKeyring, "keyring", "密钥环")
TARN_TEXT(nameServer, "server", "服务器")
TARN_TEXT(nameToken, "sign-in", "登录")
TARN_TEXT(nameCertificates, "certificates", "证书")
TARN_TEXT(nameProxy, "proxy", "代理")
TARN_TEXT(nameDisplay, "display", "显示")
TARN_TEXT(namePortals, "portals", "门户")
TARN_TEXT(nameLinks, "links", "链接")
TARN_TEXT(nameFonts, "fonts", "字体")
TARN_TEXT(nameSettings, "settings", "设置")
TARN_TEXT(nameInstance, "running program", "正在运行的程序")

TARN_TEXT(statusOk, "ok", "正常")
TARN_TEXT(statusWarning, "warning", "警告")
TARN_TEXT(statusFault, "fault", "故障")
TARN_TEXT(whatToDo, "What to do:", "解决办法：")
TARN_TEXT(nothingToDo, "Everything works.", "一切正常。")

TARN_TEXT(noAnswerInTime, "no answer within %1 s", "%1 秒内没有应答")
TARN_TEXT(noAnswerAdvice,
          "Something that this check asks hangs: run it again, and log out and in if it hangs again.",
          "此项检查所询问的对象没有响应：请重试；若依旧如此，请注销后重新登录。")
TARN_TEXT(checkFailed, "the check failed: %1", "检查失败：%1")

// Sound
TARN_TEXT(audioServerVersion, "PipeWire %1", "PipeWire %1")
TARN_TEXT(audioServerAdvice,
          "%1 (packages pipewire and wireplumber). Where there is no desktop session, XDG_RUNTIME_DIR must "
          "name the folder of its "
          "socket. Recordings can be translated without it: tarn-cli --input FILE.",
          "%1（软件包 pipewire 和 wireplumber）。若没有桌面会话，XDG_RUNTIME_DIR "
          "必须指向其套接字所在的文件夹。没有它也能翻译录音："
          "tarn-cli --input 文件。")
TARN_TEXT(notKnownWithoutAudio, "not known: there is no audio server", "未知：没有音频服务器")
TARN_TEXT(sessionManagerOther, "one other than WirePlumber", "不是 WirePlumber 的会话管理器")
TARN_TEXT(sessionManagerAbsent, "none: nothing that plays or listens is connected to a device",
          "没有：播放与收听的程序都不会连接到设备")
TARN_TEXT(sessionManagerAdvice, "Start one: systemctl --user start wireplumber (package wireplumber).",
          "请启动会话管理器：systemctl --user start wireplumber（软件包 wireplumber）。")
TARN_TEXT(sessionManagerNoDefaults, "%1, but no program manages the default devices",
          "%1，但没有程序管理默认设备")
TARN_TEXT(outputAbsent, "none: translations cannot be heard", "没有：听不到翻译语音")
TARN_TEXT(outputAdvice,
          "Connect loudspeakers or headphones and choose them in the desktop's sound settings (wpctl "
          "status lists what there is).",
          "请连接扬声器或耳机，并在桌面的声音设置中选择（wpctl status 可列出现有设备）。")
TARN_TEXT(inputAbsent, "none: there is no microphone", "没有：没有麦克风")
TARN_TEXT(inputAdvice,
          "Only translating a microphone needs one. Connect it and choose it in the desktop's sound "
          "settings.",
          "只有翻译麦克风时才需要。请连接麦克风，并在桌面的声音设置中选择。")
TARN_TEXT(captureWorks, "all that plays on \"%1\"; programs ready to play: %2",
          "可捕获“%1”播放的全部声音；可捕获的程序：%2")
TARN_TEXT(captureNoMonitor, "what plays on \"%1\" cannot be heard: it has no monitor",
          "无法捕获“%1”播放的声音：它没有监听端口")
TARN_TEXT(captureNoOutput, "nothing plays where there is no output", "没有输出设备就没有可捕获的声音")
TARN_TEXT(captureAdvice,
          "Choose another default output, or set up the session manager anew: systemctl --user restart "
          "wireplumber pipewire.",
          "请选择其他默认输出，或重新启动会话管理器：systemctl --user restart wireplumber pipewire。")
TARN_TEXT(noMicrophones, "none", "没有")

// Keyring and sign-in
TARN_TEXT(keyringOpen, "open", "已解锁")
TARN_TEXT(keyringLocked, "locked: the sign-in is asked for when it is needed",
          "已锁定：需要登录信息时会请求解锁")
TARN_TEXT(keyringLockedAdvice,
          "Unlock it when the desktop asks, or with its own program (Passwords and Keys, KWalletManager).",
          "请在桌面提示时解锁，或使用其自带的程序（“密码和密钥”、KWalletManager）解锁。")
TARN_TEXT(keyringAbsent, "none on the session bus: the sign-in is kept in files in %1",
          "会话总线上没有密钥环：登录信息保存在 %1 的文件中")
TARN_TEXT(keyringNoBus, "no session bus: the sign-in is kept in files in %1",
          "没有会话总线：登录信息保存在 %1 的文件中")
TARN_TEXT(busSilent, "the session bus does not answer", "会话总线没有应答")
TARN_TEXT(busSilentAdvice, "Log out and in, which starts it anew.", "请注销后重新登录，以重新启动会话总线。")
TARN_TEXT(keyringAbsentAdvice,
          "That works, and only you can read the files. To keep it encrypted, install a keyring "
          "(gnome-keyring or kwalletmanager) and sign in again.",
          "这样可以使用，且只有你能读取这些文件。若要加密保存，请安装密钥环（gnome-keyring 或 "
          "kwalletmanager）并重新登录。")
TARN_TEXT(keyringAdvice,
          "Start the keyring again, or log out and in: gnome-keyring-daemon --replace --components=secrets.",
          "请重新启动密钥环，或注销后重新登录：gnome-keyring-daemon --replace --components=secrets。")
TARN_TEXT(tokenAbsent, "nobody is signed in", "尚未登录")
TARN_TEXT(tokenAbsentAdvice,
          "Sign in: the button in the window, or tarn-cli login. With a relay: tarn-relay issue-token "
          "YOU@EXAMPLE.ORG | tarn-cli login --token-stdin.",
          "请登录：使用窗口中的按钮，或 tarn-cli login。使用中继时：tarn-relay issue-token "
          "YOU@EXAMPLE.ORG | tarn-cli login --token-stdin。")
TARN_TEXT(tokenElsewhere, "of another server: %1", "属于另一台服务器：%1")
TARN_TEXT(tokenAccepted, "accepted by the server", "服务器已接受")
TARN_TEXT(tokenRefused, "refused by the server (401)", "被服务器拒绝（401）")
TARN_TEXT(tokenRefusedAdvice,
          "It has ended, or belongs to another server: sign in again (tarn-cli login, or the button in the "
          "window).",
          "它已失效，或属于其他服务器：请重新登录（tarn-cli login，或使用窗口中的按钮）。")
TARN_TEXT(tokenUntested, "stored; not tested, as the server does not answer",
          "已保存；服务器没有应答，无法检验")
TARN_TEXT(tokenUnclear, "stored; the server did not say whether it is good: %1",
          "已保存；服务器未说明是否有效：%1")
TARN_TEXT(tokenUnreadable, "cannot be read: %1", "无法读取：%1")
TARN_TEXT(tokenUnreadableAdvice, "Unlock or repair the keyring first, then run this again.",
          "请先解锁或修复密钥环，然后再次运行检查。")

// Server
TARN_TEXT(serverAnswers, "%1 answers (address: %2)", "%1 有应答（地址来源：%2）")
TARN_TEXT(serverStrange, "%1 answers with status %2: that is no account server",
          "%1 以状态 %2 应答：这不是账户服务器")
TARN_TEXT(serverBroken, "%1 answers with status %2: it is in trouble", "%1 以状态 %2 应答：服务器出了问题")
TARN_TEXT(serverSilent, "%1 does not answer: %2", "%1 没有应答：%2")
TARN_TEXT(originDefault, "compiled in", "内置")
TARN_TEXT(serverRelayAdvice,
          "Start the relay of this machine: tarn-relay. For another server put its address into %1: "
          "{\"apiUrl\": \"account.example.org\"}.",
          "请启动本机的中继：tarn-relay。若要使用其他服务器，请把地址写入 %1："
          "{\"apiUrl\": \"account.example.org\"}。")
TARN_TEXT(serverOfAnotherAdvice,
          "Let that relay end, or start yours on another port (tarn-relay --listen 127.0.0.1:8788) and put "
          "its address into %1: {\"apiUrl\": \"http://127.0.0.1:8788/tarn\"}. Name the other user's relay "
          "there only if that user may hear all that you translate.",
          "请让该中继停止，或在另一个端口启动自己的中继（tarn-relay --listen 127.0.0.1:8788），并把地址写入 "
          "%1：{\"apiUrl\": \"http://127.0.0.1:8788/tarn\"}。只有当您允许那位用户听到您翻译的一切内容时，"
          "才写入其中继的地址。")
TARN_TEXT(serverAdvice,
          "Look at the network, at the proxy below, and at the address (%1); the server itself may be down.",
          "请检查网络、下面的代理以及地址（%1）；服务器本身也可能已停机。")
TARN_TEXT(serverAddressAdvice, "The address is set by %1: correct it.", "地址由 %1 设定：请改正。")
TARN_TEXT(serverBrokenAdvice, "Wait a little, or tell whoever runs the server.",
          "请稍候，或通知服务器的管理者。")
TARN_TEXT(deploymentAdvice, "Correct what the line names; docs/configuration.md lists what can stand there.",
          "请改正该行所指之处；可用的值见 docs/configuration.md。")
TARN_TEXT(certificatesFound, "trusted certificates from %1", "可信证书来自 %1")
TARN_TEXT(certificatesAccepted, "trusted certificates from %1; the server's is accepted",
          "可信证书来自 %1；服务器的证书已被接受")
TARN_TEXT(certificateRefused, "the server's is refused: %1", "服务器的证书被拒绝：%1")
TARN_TEXT(certificateAdvice,
          "Look at the clock of this computer. A certificate of your own must be trusted by the system "
          "(/usr/local/share/ca-certificates, update-ca-certificates) or named by SSL_CERT_FILE.",
          "请检查本机时钟。自有证书须由系统信任（/usr/local/share/ca-certificates，"
          "update-ca-certificates），或由 SSL_CERT_FILE 指定。")
TARN_TEXT(certificatesAdvice,
          "Install the package ca-certificates, and see that SSL_CERT_FILE and SSL_CERT_DIR, where set, name "
          "what exists.",
          "请安装软件包 ca-certificates；若设置了 SSL_CERT_FILE 或 SSL_CERT_DIR，请确认其所指存在。")
TARN_TEXT(proxyNone, "none: the server is reached directly", "无：直接连接服务器")
TARN_TEXT(proxyUsed, "the server is reached through %1", "通过 %1 连接服务器")
TARN_TEXT(proxyUnusable, "https_proxy is not the address of a proxy", "https_proxy 不是代理的地址")
TARN_TEXT(proxyAdvice, "Write it as http://HOST:PORT, or unset it.",
          "请写作 http://主机:端口，或取消该变量。")

// Desktop
TARN_TEXT(displayWorks, "%1, window manager %2; stays above others, full-screen windows too",
          "%1，窗口管理器 %2；窗口可保持在最上层，包括全屏窗口之上")
TARN_TEXT(displayNotAbove, "%1, window manager %2, which keeps no window above others",
          "%1，窗口管理器 %2，它不支持窗口置顶")
TARN_TEXT(displayNotAboveAdvice, "Use another window manager, or a rule of this one for the window \"Tarn\".",
          "请使用其他窗口管理器，或为窗口“Tarn”设置规则。")
TARN_TEXT(displayNoManager, "%1 without a window manager", "%1，没有窗口管理器")
TARN_TEXT(displayNoManagerAdvice, "Start a window manager: without one windows have no focus and no order.",
          "请启动窗口管理器：没有它，窗口就没有焦点和层次。")
TARN_TEXT(displayNoCompositor, "%1, window manager %2, without a compositor: the window is opaque",
          "%1，窗口管理器 %2，没有合成器：窗口不透明")
TARN_TEXT(displayNoCompositorAdvice, "Turn on the window manager's compositing, or start one: picom -b.",
          "请开启窗口管理器的合成功能，或启动合成器：picom -b。")
TARN_TEXT(displayWayland, "Wayland without Xwayland (%1): the window cannot stay above others",
          "Wayland，没有 Xwayland（%1）：窗口无法保持在最上层")
TARN_TEXT(displayWaylandAdvice, "Install and turn on Xwayland (package xwayland).",
          "请安装并启用 Xwayland（软件包 xwayland）。")
TARN_TEXT(displayAbsent, "none (%1): there can be no window", "没有显示（%1）：无法打开窗口")
TARN_TEXT(displayAbsentAdvice, "Start tarn from the desktop. tarn-cli works without one.",
          "请从桌面启动 tarn。tarn-cli 不需要显示。")
TARN_TEXT(portalsWork, "run, with the desktop's settings", "正在运行，并提供桌面设置")
TARN_TEXT(portalsReady, "are started when they are needed", "需要时自动启动")
TARN_TEXT(portalsNoSettings, "run, without the desktop's settings: a dark look is not followed",
          "正在运行，但不提供桌面设置：不会跟随深色外观")
TARN_TEXT(portalsAbsent, "none: whether the desktop is dark is read from elsewhere",
          "没有：深色外观改由其他途径读取")
TARN_TEXT(
    portalsAdvice,
    "Not needed. For the desktop's own look install xdg-desktop-portal and the part for your desktop "
    "(xdg-desktop-portal-gtk, -gnome or -kde).",
    "并非必需。若要跟随桌面外观，请安装 xdg-desktop-portal 及对应桌面的部分（xdg-desktop-portal-gtk、-gnome "
    "或 -kde）。")
TARN_TEXT(linksWork, "the desktop opens tarn: with \"%1\"", "桌面使用“%1”打开 tarn: 链接")
TARN_TEXT(linksAbsent, "the desktop has no program for tarn: yet", "桌面尚无打开 tarn: 链接的程序")
TARN_TEXT(linksAdvice, "Start tarn once, or tarn-cli login: it registers itself.",
          "请启动一次 tarn 或 tarn-cli login：程序会自行注册。")
TARN_TEXT(fontsComplete, "for every script that is translated into", "所有翻译文字均有字体")
TARN_TEXT(fontsMissing, "none for %1: boxes are shown in their place", "缺少字体：%1，将显示为方框")
TARN_TEXT(fontsAdvice, "Install fonts-noto-core fonts-noto-cjk fonts-noto-color-emoji.",
          "请安装 fonts-noto-core fonts-noto-cjk fonts-noto-color-emoji。")
TARN_TEXT(instanceRuns, "Tarn is running", "Tarn 正在运行")
TARN_TEXT(instanceNone, "none", "没有")
TARN_TEXT(instanceUnknown, "cannot be told: %1", "无法得知：%1")
TARN_TEXT(instanceAdvice,
          "Without a session bus each start opens another window, and links do not reach it: start tarn from "
          "the desktop.",
          "没有会话总线时，每次启动都会打开新窗口，链接也无法送达：请从桌面启动 tarn。")

// Settings
TARN_TEXT(asItIs, "%1", "%1")
TARN_TEXT(settingsNew, "%1 is made when something is set", "%1 将在首次更改设置时创建")
TARN_TEXT(settingsDamaged, "%1; defaults are used", "%1；使用默认设置")
TARN_TEXT(settingsDamagedAdvice,
          "Nothing needs doing: it is kept as settings.json.damaged when something is set.",
          "无需处理：更改设置时它会另存为 settings.json.damaged。")
TARN_TEXT(settingsNotWritable, "%1 cannot be written: settings last until the program ends",
          "%1 无法写入：设置只保留到程序结束")
TARN_TEXT(settingsNotWritableAdvice,
          "It must be a plain file that you may read and write, in a folder of yours: chmod u+rw, or chown.",
          "它必须是你可读写的普通文件，且位于你自己的文件夹中：chmod u+rw，或 chown。")
TARN_TEXT(settingsNoSpace, "no space is left where %1 is kept", "%1 所在位置已无剩余空间")
TARN_TEXT(settingsNoSpaceAdvice, "Free some space on that disk.", "请释放该磁盘的空间。")

// The texts of the interface beyond those of LocTexts.h and HealthTexts.h: TARN_TEXT(key, English, Simplified
// Chinese). Whoever includes this defines TARN_TEXT first and undefines it after.

// Onboarding
TARN_TEXT(loginTitle, "Sign in to translate", "登录后即可翻译")
TARN_TEXT(loginButton, "Sign in with your browser", "在浏览器中登录")
// The service may be the relay on the user's own machine: the text must be true of that, too.
TARN_TEXT(
    loginWhyBody,
    "Translation runs on the service's servers, and they work only for a signed-in account. With a relay of "
    "your own, that server is this computer or another one of yours. You can sign in later, whenever you "
    "like.",
    "翻译在服务的服务器上进行，需要登录账户才能使用。如果你使用自己的中继，服务器就是这台电脑或你的另一台电脑"
    "。"
    "也可以稍后再登录。")
TARN_TEXT(openByHand, "No browser could be opened. Please open this address yourself:",
          "无法打开浏览器。请自行打开此地址：")
TARN_TEXT(copy, "Copy", "复制")
TARN_TEXT(copied, "Copied", "已复制")
// Heard only. "%1" and "%2" are numbers.
TARN_TEXT(pageOf, "Page %1 of %2", "第 %1 页，共 %2 页")

// Tray, click-through and global shortcuts
TARN_TEXT(trayShow, "Show Tarn", "显示 Tarn")
TARN_TEXT(trayMiniMode, "Mini mode", "Mini 模式")
TARN_TEXT(trayClickThrough, "Click-through", "点击穿透")
TARN_TEXT(keyStartStop, "Start or stop translating", "开始或停止翻译")
TARN_TEXT(trayQuit, "Quit Tarn", "退出 Tarn")
TARN_TEXT(clickThroughOn, "Clicks pass through. The tray, or starting Tarn again, ends this.",
          "点击将穿透窗口。通过托盘或再次启动 Tarn 即可结束。")
TARN_TEXT(clickThroughOff, "Clicks reach Tarn again", "点击穿透已关闭")

// Menus. The first stands behind a language.
TARN_TEXT(languageMissing, "not on this server", "服务器不支持")
TARN_TEXT(noApplicationPlays, "No application plays sound now", "现在没有应用在播放声音")
TARN_TEXT(cannotOpen, "No program here opens %1", "这里没有程序可以打开 %1")

// Playback
TARN_TEXT(keepUp, "Keep up", "跟上进度")
TARN_TEXT(
    helpKeepUp,
    "A voice that falls behind is spoken up to 1.3 times as fast. Where more than 10 seconds wait, whole "
    "sentences are left out.",
    "语音落后时最多加快到 1.3 倍；等待播放的语音超过 10 秒时，会跳过整句。")
TARN_TEXT(turnOthersDown, "Turn others down", "压低其他声音")
TARN_TEXT(
    helpTurnOthersDown,
    "While a translated voice speaks, other programs are turned down by so much. What Tarn hears of them "
    "stays as loud as it was.",
    "播放译音时把其他程序的音量压低这么多。Tarn 听到的音量不变。")
TARN_TEXT(off, "Off", "关闭")
TARN_TEXT(placeDubs, "Voices left and right", "译音分左右")
TARN_TEXT(
    helpPlaceDubs,
    "Where two or more sources run, each translated voice comes from a place of its own between left and "
    "right.",
    "有两个或更多来源运行时，每个译音从左到右各占一个位置。")

// In the place of subtitles. "%1" is one of the durations below.
TARN_TEXT(notTranslated, "[%1 not translated]", "[%1未翻译]")
TARN_TEXT(seconds, "%1 s", "%1 秒")
TARN_TEXT(minutes, "%1 min", "%1 分钟")
TARN_TEXT(minutesSeconds, "%1 min %2 s", "%1 分 %2 秒")
TARN_TEXT(hours, "%1 h", "%1 小时")
TARN_TEXT(hoursMinutes, "%1 h %2 min", "%1 小时 %2 分钟")

// A lost connection
TARN_TEXT(resumeConnection, "Resume after a lost connection", "断线后自动恢复")
TARN_TEXT(helpResume,
          "Keeps what is said while the connection is lost, up to two minutes of it, and translates it when "
          "there is one again. Counts from the next start.",
          "连接断开时保留最多两分钟的语音，恢复后补译。下次开始时生效。")
TARN_TEXT(useStandIn, "Translate on this machine while the service is away", "服务中断时在本机翻译")
TARN_TEXT(helpStandIn,
          "Where a relay runs on this machine, it translates while the service stays away. Counts from the "
          "next start.",
          "如果本机运行着中继，服务中断期间由它翻译。下次开始时生效。")

// Signing in and out
TARN_TEXT(signInToStart, "Sign in to start translating", "登录后才能开始翻译")
TARN_TEXT(keyringLocked, "The keyring is locked: unlock the keyring and start again",
          "密钥环已锁定：请解锁密钥环后重新开始")
TARN_TEXT(keyringSilent, "The keyring does not answer: unlock the keyring and start again",
          "密钥环没有响应：请解锁密钥环后重新开始")
TARN_TEXT(signInUnreadable, "The sign-in cannot be read: %1", "无法读取登录信息：%1")
TARN_TEXT(serverNotTold, "Signed out here. The server could not be told.",
          "已在本机退出登录，但未能通知服务器。")
TARN_TEXT(signInNotDeleted,
          "Signed out, but the keyring did not delete the sign-in: it is back at the next start",
          "已退出登录，但密钥环未能删除登录信息：下次启动时会恢复登录")

// Sound. In the last, "%1" is a sentence and "%2" another one.
TARN_TEXT(audioServerAbsent, "The audio server (PipeWire) is not running", "音频服务器（PipeWire）未运行")
TARN_TEXT(audioServerSilent, "The audio server (PipeWire) does not answer", "音频服务器（PipeWire）没有应答")
TARN_TEXT(startAudioServer, "Start it: systemctl --user start pipewire.socket pipewire wireplumber",
          "请启动它：systemctl --user start pipewire.socket pipewire wireplumber")
TARN_TEXT(restartAudioServer, "Restart it: systemctl --user restart pipewire wireplumber",
          "请重新启动它：systemctl --user restart pipewire wireplumber")
TARN_TEXT(soundManagerAbsent, "The audio server's session manager (WirePlumber) is not running",
          "音频服务器的会话管理器（WirePlumber）未运行")
TARN_TEXT(startSoundManager, "Start it: systemctl --user start wireplumber",
          "请启动它：systemctl --user start wireplumber")
TARN_TEXT(noOutputToHear, "There is no sound output to listen to: connect loudspeakers or headphones",
          "没有可收听的声音输出：请连接扬声器或耳机")
TARN_TEXT(withAdvice, "%1. %2", "%1。%2")

// Records of what was said. "%1" is what the system says.
TARN_TEXT(recordsFail, "What is said is not being kept: %1", "未能保存记录：%1")
TARN_TEXT(recordsUnread, "The record cannot be read: %1", "无法读取记录：%1")
TARN_TEXT(recordStays, "The record was not deleted: %1", "未能删除记录：%1")

// The record's window. "%1" and "%2" are numbers, a folder, a file or what went wrong.
TARN_TEXT(recordTitle, "What was said", "对话记录")
TARN_TEXT(helpRecord, "What was said (Ctrl+R)", "对话记录（Ctrl+R）")
TARN_TEXT(recordEmpty, "Nothing has been said yet. What is said and its translation will stand here.",
          "还没有内容。说的话和译文会显示在这里。")
TARN_TEXT(recordNothingFound, "Nothing that was said fits.", "没有符合条件的内容。")
TARN_TEXT(recordSearch, "Search", "搜索")
TARN_TEXT(recordNow, "Since the start of Tarn", "本次启动以来")
TARN_TEXT(recordOlder, "Record", "记录")
TARN_TEXT(recordJump, "Jump to live", "跳到最新")
TARN_TEXT(recordCount, "%1 sentences", "共 %1 句")
TARN_TEXT(recordCountOf, "%1 of %2 sentences", "%1 / %2 句")
TARN_TEXT(recordSelected, "%1 selected", "已选 %1 句")
TARN_TEXT(recordUnspoken, "not spoken: the voice was too far behind", "未播放：语音落后太多")
TARN_TEXT(recordSave, "Save…", "保存…")
TARN_TEXT(recordSaveAs, "Save as", "保存为")
TARN_TEXT(recordFormat, "Format", "格式")
TARN_TEXT(recordTexts, "Texts", "文本")
TARN_TEXT(recordBoth, "Both", "全部")
TARN_TEXT(recordOriginal, "Original", "原文")
TARN_TEXT(recordTranslation, "Translation", "译文")
TARN_TEXT(recordSaved, "Saved: %1", "已保存：%1")
TARN_TEXT(recordNotSaved, "Not saved: %1", "未能保存：%1")
TARN_TEXT(recordNeedsPath, "The whole path of a file is needed.", "请输入文件的完整路径。")
TARN_TEXT(recordReplaces, "There is such a file: save once more to replace it.",
          "文件已存在：再次保存即可替换。")
TARN_TEXT(recordSettings, "Keep records", "保留记录")
TARN_TEXT(
    helpKeepRecords,
    "What is said from now on is written to a folder that only you can read. Off: it is gone when Tarn ends.",
    "之后说的话会写入只有你能读取的文件夹。关闭时，退出 Tarn 后内容即消失。")
TARN_TEXT(recordDays, "Days", "天数")
TARN_TEXT(recordMebibytes, "MiB at most", "最多 MiB")
TARN_TEXT(recordFolder, "They are in %1", "保存位置：%1")
TARN_TEXT(recordDelete, "Delete this record", "删除此记录")
TARN_TEXT(recordDeleteAll, "Delete all records", "删除全部记录")
TARN_TEXT(recordDeleteSure, "Delete for good?", "确定永久删除？")

// The look of subtitles, and reading mode. "%1" is a number.
TARN_TEXT(lookTitle, "Look of the subtitles", "字幕外观")
TARN_TEXT(lookOpen, "Look…", "外观…")
TARN_TEXT(lookSampleOriginal, "Shall we begin with the second chapter?",
          "Shall we begin with the second chapter?")
TARN_TEXT(lookSampleTranslation, "我们从第二章开始，好吗？ 12:30", "我们从第二章开始，好吗？ 12:30")
TARN_TEXT(lookFont, "Font", "字体")
TARN_TEXT(lookUsual, "Usual", "默认")
TARN_TEXT(lookWeight, "Weight", "粗细")
TARN_TEXT(lookLight, "Light", "细")
TARN_TEXT(lookRegular, "Regular", "常规")
TARN_TEXT(lookMedium, "Medium", "中等")
TARN_TEXT(lookBold, "Bold", "粗")
TARN_TEXT(lookOriginalColor, "Colour of the original", "原文颜色")
TARN_TEXT(lookTranslationColor, "Colour of the translation", "译文颜色")
TARN_TEXT(lookOutline, "Outline in mini mode", "Mini 模式描边")
TARN_TEXT(lookBackground, "Background", "背景")
TARN_TEXT(lookAlignment, "Alignment", "对齐")
TARN_TEXT(lookStart, "Start", "起始")
TARN_TEXT(lookCenter, "Centre", "居中")
TARN_TEXT(lookEnd, "End", "末尾")
TARN_TEXT(lookOriginal, "Original", "原文")
TARN_TEXT(lookAbove, "Above", "上方")
TARN_TEXT(lookBelow, "Below", "下方")
TARN_TEXT(lookHidden, "Hidden", "隐藏")
TARN_TEXT(lookReset, "As it was", "恢复原样")
TARN_TEXT(lookContrast, "Contrast is %1 : 1. Text is easy to read from 4.5 : 1 on.",
          "对比度为 %1 : 1。达到 4.5 : 1 才易于阅读。")
TARN_TEXT(readingMode, "Reading mode", "阅读模式")
TARN_TEXT(
    helpReadingMode,
    "The last sentences of the translation stay. Words that are settled never change or move; what may still "
    "change is dimmed.",
    "保留最近几句译文。已确定的词不再改变或移动，可能还会变化的部分显示较暗。")
TARN_TEXT(readingKept, "Sentences that stay", "保留句数")

// Subtitles for other programs. "%1" is a port, a file or what went wrong.
TARN_TEXT(elsewhereTitle, "Subtitles elsewhere", "在其他程序中显示字幕")
TARN_TEXT(elsewhereOpen, "Subtitles elsewhere…", "在其他程序中显示字幕…")
TARN_TEXT(elsewherePage, "Page for OBS and browsers", "供 OBS 和浏览器使用的页面")
TARN_TEXT(
    helpElsewherePage,
    "Add the address as a browser source. It works on this computer only, and whoever has it can read the "
    "subtitles.",
    "将该地址添加为浏览器来源。仅限本机访问，知道该地址即可看到字幕。")
TARN_TEXT(elsewherePort, "The usual port is taken: the address has another one until the next start.",
          "常用端口已被占用：下次启动前使用其他端口。")
TARN_TEXT(elsewhereNewKey, "New address", "更换地址")
TARN_TEXT(elsewhereBus, "Signals on D-Bus", "D-Bus 信号")
TARN_TEXT(helpElsewhereBus,
          "For scripts: every program of yours that is on the session bus can read the subtitles.",
          "供脚本使用：会话总线上的任何程序都能读取字幕。")
TARN_TEXT(elsewhereFile, "Text file", "文本文件")
TARN_TEXT(helpElsewhereFile,
          "For OBS's text source: has the latest subtitles, and is empty when nothing runs.",
          "供 OBS 文本来源使用：内容为最新字幕，停止后清空。")
TARN_TEXT(elsewhereFails, "It does not work: %1", "无法使用：%1")

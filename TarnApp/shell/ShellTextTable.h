// Texts of the tray, of click-through and of global shortcuts: TARN_SHELL_TEXT(key, English, Simplified
// Chinese). Whoever includes this defines the macro first and undefines it after.

TARN_SHELL_TEXT(trayShow, "Show Tarn", "显示 Tarn")
TARN_SHELL_TEXT(trayMiniMode, "Mini mode", "Mini 模式")
TARN_SHELL_TEXT(trayClickThrough, "Click-through", "点击穿透")
TARN_SHELL_TEXT(keyStartStop, "Start or stop translating", "开始或停止翻译")
TARN_SHELL_TEXT(trayQuit, "Quit Tarn", "退出 Tarn")
TARN_SHELL_TEXT(clickThroughOn, "Clicks pass through. The tray, or starting Tarn again, ends this.",
                "点击将穿透窗口。通过托盘或再次启动 Tarn 即可结束。")
TARN_SHELL_TEXT(clickThroughOff, "Clicks reach Tarn again", "点击穿透已关闭")

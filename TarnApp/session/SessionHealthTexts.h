// What a session says beside its state: TARN_SESSION_FAULT(case, English, Simplified Chinese), the worst
// first. %1 stands for the fault's value (`TranslateSession::healthValues`). Whoever includes this defines
// the macro first and undefines it after.

TARN_SESSION_FAULT(connectionLost, "Connection lost: stop and start again", "连接已断开：请停止后重新开始")
TARN_SESSION_FAULT(serviceRefuses, "The service refuses: %1", "服务拒绝：%1")
TARN_SESSION_FAULT(captureEnded, "Listening has ended: stop and start again", "收音已中断：请停止后重新开始")
TARN_SESSION_FAULT(soundServerGone, "Audio server gone: waiting for it", "音频服务已断开：正在等待恢复")
TARN_SESSION_FAULT(microphoneGone, "Microphone gone: waiting for it", "麦克风已断开：正在等待恢复")
TARN_SESSION_FAULT(connectionStalled, "The server does not answer", "服务器没有响应")
TARN_SESSION_FAULT(connectionSlow, "The connection is too slow: %1 s behind", "网络太慢：落后 %1 秒")
TARN_SESSION_FAULT(soundLeftOut, "The connection was too slow: %1 s of sound were left out",
                   "网络太慢：%1 秒的声音被略去")
TARN_SESSION_FAULT(soundManagerGone, "Sound devices are not managed: new sound is not heard",
                   "音频设备管理程序未运行：听不到新的声音")
TARN_SESSION_FAULT(outputGone, "No sound output: the translation is not spoken", "没有声音输出：译文无法播放")

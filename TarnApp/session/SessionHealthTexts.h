// What a session says beside its state: TARN_SESSION_FAULT(case, English, Simplified Chinese), the worst
// first. Whoever includes this defines the macro first and undefines it after.

TARN_SESSION_FAULT(connectionLost, "Connection lost: stop and start again", "连接已断开：请停止后重新开始")
TARN_SESSION_FAULT(captureEnded, "Listening has ended: stop and start again", "收音已中断：请停止后重新开始")
TARN_SESSION_FAULT(soundServerGone, "Audio server gone: waiting for it", "音频服务已断开：正在等待恢复")
TARN_SESSION_FAULT(microphoneGone, "Microphone gone: waiting for it", "麦克风已断开：正在等待恢复")
TARN_SESSION_FAULT(connectionStalled, "The server does not answer", "服务器没有响应")
TARN_SESSION_FAULT(soundManagerGone, "Sound devices are not managed: new sound is not heard",
                   "音频设备管理程序未运行：听不到新的声音")
TARN_SESSION_FAULT(outputGone, "No sound output: the translation is not spoken", "没有声音输出：译文无法播放")

// What a session says beside its state, the worst first: TARN_TEXT(fault, English, Simplified Chinese). "%1"
// stands for the fault's value. Whoever includes this defines TARN_TEXT first and undefines it after.

TARN_TEXT(connectionLost, "Connection lost: stop and start again", "连接已断开：请停止后重新开始")
TARN_TEXT(serviceRefuses, "The service refuses: %1", "服务拒绝：%1")
TARN_TEXT(connectionResuming, "Connection lost: trying again", "连接已断开：正在重试")
TARN_TEXT(captureEnded, "Listening has ended: stop and start again", "收音已中断：请停止后重新开始")
TARN_TEXT(soundServerGone, "Audio server gone: waiting for it", "音频服务已断开：正在等待恢复")
TARN_TEXT(microphoneGone, "Microphone gone: waiting for it", "麦克风已断开：正在等待恢复")
TARN_TEXT(connectionStalled, "The server does not answer", "服务器没有响应")
TARN_TEXT(connectionSlow, "The connection is too slow: %1 s behind", "网络太慢：落后 %1 秒")
TARN_TEXT(catchingUp, "Catching up: %1 s behind", "正在追赶：落后 %1 秒")
TARN_TEXT(standIn, "Translated on this machine", "正在本机翻译")
TARN_TEXT(soundLeftOut, "The connection was too slow: %1 s of sound were left out",
          "网络太慢：%1 秒的声音被略去")
TARN_TEXT(soundManagerGone, "Sound devices are not managed: new sound is not heard",
          "音频设备管理程序未运行：听不到新的声音")
TARN_TEXT(outputGone, "No sound output: the translation is not spoken", "没有声音输出：译文无法播放")

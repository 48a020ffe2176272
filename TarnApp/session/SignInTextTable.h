// What is said of signing in and out: TARN_SIGN_IN_TEXT(key, English, Simplified Chinese). Whoever includes
// this defines the macro first and undefines it after.

TARN_SIGN_IN_TEXT(signedInAs, "Signed in as %1", "已登录：%1")
TARN_SIGN_IN_TEXT(keyringLocked, "The keyring is locked: unlock the keyring and start again",
                  "密钥环已锁定：请解锁密钥环后重新开始")
TARN_SIGN_IN_TEXT(keyringSilent, "The keyring does not answer: unlock the keyring and start again",
                  "密钥环没有响应：请解锁密钥环后重新开始")
TARN_SIGN_IN_TEXT(unreadable, "The sign-in cannot be read: %1", "无法读取登录信息：%1")
TARN_SIGN_IN_TEXT(serverNotTold, "Signed out here. The server could not be told.",
                  "已在本机退出登录，但未能通知服务器。")
TARN_SIGN_IN_TEXT(notDeleted,
                  "Signed out, but the keyring did not delete the sign-in: it is back at the next start",
                  "已退出登录，但密钥环未能删除登录信息：下次启动时会恢复登录")

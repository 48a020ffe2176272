// What the interface says on this desktop in the place of texts of LocTexts.h: TARN_TEXT(key, English,
// Simplified Chinese), with keys of that table. Whoever includes this defines TARN_TEXT first and undefines
// it after.

TARN_TEXT(loginSignedInAs, "Signed in as %1", "已登录：%1")

#pragma once

/// Consistency checks: a failed one logs file, line and text, and execution goes on.

/// Logs a failed check. Never throws. Answers false, so that checks can stand in conditions.
bool ZAssert_Failed(const char* _pszFile, int _nLine, const char* _pszText) noexcept;

/// True when the expression holds; else logs "text" and is false: if (!Z_VERIFY_TEXT(p, "_pProps")) return ...
#define Z_VERIFY_TEXT(expr, text) ((expr) ? true : (ZAssert_Failed(__FILE__, __LINE__, text), false))
#define Z_VERIFY(expr) Z_VERIFY_TEXT(expr, #expr)

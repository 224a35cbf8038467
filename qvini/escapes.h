/// Escapes in string values: a backslash and n, t, x with two hexadecimal digits, a double quote or
/// another backslash.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// A copy of text with TAB, LF, double quotes, backslashes and control characters escaped, for the
/// caller to free; null when there is no memory.
char* qvini_Escape(const char* text);

/// Writes text to result with the escapes undone: a backslash before any other character is
/// dropped,
/// "\x" without two hexadecimal digits behind it is an x, a backslash at the end is nothing. The
/// result, with its NUL, is never longer than text.
void qvini_Unescape(const char* text, char* result);

#ifdef __cplusplus
}
#endif

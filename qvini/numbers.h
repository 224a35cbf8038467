/// Numbers and truth values in INI values. Nothing depends on the locale.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Room for any double as text, with its NUL.
enum { kDoubleTextSize = 32 };

/// Reads a decimal number: white space, at most one sign, at least one digit, white space. 1, its
/// magnitude and whether it has a minus sign; 0, and nothing stored, for any other text and above
/// 4294967295.
int ConvertNumStrToUint(const char* text, unsigned* magnitude, int* isNegative);

/// 1, or kIniNotAnInt and the value untouched.
int qvini_StrToInt(const char* text, int* value);

/// 1, or kIniNotAnUnsigned and the value untouched. Any minus sign is refused, that of -0 too.
int qvini_StrToUInt(const char* text, unsigned* value);

/// 1, or kIniNotADouble, or kIniOutOfMemory when the C locale cannot be had, and the value
/// untouched.
int qvini_StrToDouble(const char* text, double* value);

/// 1, or kIniNotABoolean and the value untouched.
int qvini_StrToBoolean(const char* text, int* value);

/// Writes value with 15 digits. 1, or kIniOutOfMemory when the C locale cannot be had.
int qvini_DoubleToStr(double value, char text[kDoubleTextSize]);

#ifdef __cplusplus
}
#endif

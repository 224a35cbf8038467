#pragma once

#include <string>

namespace qv::tools {

/// What a command line comes to: the program's own work, a text to be shown instead, or nothing.
enum class Request { Work, ShowHelp, ShowVersion, Refuse };

/// Explains on standard error why program takes no command line with this word, and where help is
/// to be had. Returns Refuse.
Request RefuseCommandLine(const char* program, const std::string& reason, const std::string& word);

/// The same where the reason was told already.
Request RefuseCommandLine(const char* program);

/// Reads a whole number from least to most, in decimal digits and nothing else; false when text is
/// none, and number stays as it is.
bool ReadNumber(const char* text, int least, int most, int& number);

/// Writes text to standard output; false, with a word of program's on standard error, when not all
/// of it got there.
bool PrintText(const char* program, const std::string& text);

}  // namespace qv::tools

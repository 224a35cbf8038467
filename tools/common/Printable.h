#pragma once

#include <string>
#include <vector>

namespace qv::tools {

/// text as it can stand on a terminal and in JSON: control characters, characters that break lines
/// or turn the direction of writing, and all bytes above ASCII when the text is not UTF-8, become
/// \xNN.
std::string Printable(const std::string& text);

/// The lines of text, each of them printable.
std::vector<std::string> PrintableLines(const std::string& text);

/// Printable text in quotes, for names that come from the file system.
std::string Quoted(const std::string& text);

}  // namespace qv::tools

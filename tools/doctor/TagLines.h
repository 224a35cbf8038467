#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Judges the lines of a tag file one by one: adds a finding for each that a human would take for
/// something else than the library does, and to the facts the number of each line that defines
/// nothing. Of the text itself no more than short names, values and beginnings of definitions are
/// shown, and nothing at all unless mayQuote: the name may lead to a file of another kind.
void JudgeTagLines(const std::string& text, bool mayQuote, Section& section);

}  // namespace qv::tools::doctor

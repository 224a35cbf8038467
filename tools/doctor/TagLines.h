#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::doctor {

/// Judges the lines of a tag file one by one: adds a finding for each that a human would take for
/// something else than the library does, and to the facts each line that defines nothing.
void JudgeTagLines(const std::string& text, Section& section);

}  // namespace qv::doctor

#pragma once

#include <string>

namespace qv::tools::doctor {

/// Makes the trace engine that is part of this program the one that every later search for an
/// engine finds, wherever it looks: dlopen, which this program answers itself, then gives the
/// program in place of the engine's file. The site's engine is neither loaded nor touched.
///
/// The engine names directory as the one of the tag files, wants tag names in the records and
/// reports each of them to the doctor, with its time. For children only; once in a process.
void InstallBuiltInEngine(const std::string& directory);

}  // namespace qv::tools::doctor

#pragma once

#include <string>

namespace qv::tools::doctor {

// The jobs of children: each looks at code of others by running it, and reports what it finds as it
// goes, so that what was known before a crash is known after it.

/// The name of the job and what it takes.
inline constexpr char kLibraryJob[] = "library";  // the library
inline constexpr char kOpensslJob[] = "openssl";  // the directory of the OpenSSL files
inline constexpr char kEngineJob[] = "engine";    // the library
inline constexpr char kTagsJob[] = "tags";        // the directory of the tag file
inline constexpr char kTrialJob[] = "trial";      // the library, the directory of the tag file

/// Loads the library as a host does: what it exports, and which directory it takes for its own.
void ProbeLibrary(const std::string& library);

/// Opens the two OpenSSL files as the library does and looks all functions up in them.
void ProbeOpenssl(const std::string& directory);

/// Looks for the site's trace engine where the library does, and asks it for its settings.
void ProbeEngine(const std::string& library);

/// Reads the tag file in directory as the library does and prints the table of tags.
void ProbeTags(const std::string& directory);

/// Calls Init and Uninit of the library with the engine that is built into this program, which
/// names directory as the one of the tag file.
void RunTrial(const std::string& library, const std::string& directory);

}  // namespace qv::tools::doctor

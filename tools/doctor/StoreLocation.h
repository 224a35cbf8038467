#pragma once

#include <string>

#include "tools/doctor/Section.h"

namespace qv::doctor {

/// The directory of the certificate store, found by the library's own code, with a word in section
/// on how the environment had a say in it.
std::string LocateStore(Section& section);

}  // namespace qv::doctor

#pragma once

#include <string>

#include "tools/common/FileFacts.h"
#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Whether others than owner and group may read the file: it, and every directory above.
bool IsReadableByOthers(const FileFacts& file);
bool IsReadableByGroup(const FileFacts& file);

/// Whether this user may make files in the directory.
bool MayCreateIn(const std::string& directory);

/// Adds a finding for whoever may change file, called name, and should not: other users, its group,
/// or an owner who is neither root, nor this user, nor the owner of the store.
void JudgeWriters(const FileFacts& file, const std::string& name, uid_t storeOwner,
                  Section& section);

}  // namespace qv::tools::doctor

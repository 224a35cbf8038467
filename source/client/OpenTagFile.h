#pragma once

#include <cstdio>
#include <memory>

#include "kit/StringBase.h"

namespace qv::traceengine {

struct CloseTagFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

using TagFile = std::unique_ptr<std::FILE, CloseTagFile>;

/// Opens a file for reading. Null when there is none or it cannot be read, and also for what is no
/// regular file: reading a pipe or a device could hold up the host for ever. Children of the host
/// do not inherit the file.
TagFile OpenTagFile(const kit::String& path) noexcept;

}  // namespace qv::traceengine

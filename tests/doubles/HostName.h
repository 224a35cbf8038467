#pragma once

#include <string>

namespace qv::tests {

/// What the host is called from now on, in this process: doubles/HostName.cpp stands in for
/// gethostname, for this program and all libraries that it loads.
void SetHostName(const std::string& name);

}  // namespace qv::tests

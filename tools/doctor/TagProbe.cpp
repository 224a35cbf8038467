#include <cstdio>

#include "source/client/MyTraceLogger.h"
#include "tools/doctor/BuiltInEngine.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {

void ProbeTags(const std::string& directory) {
  InstallBuiltInEngine(directory);
  const traceengine::MyTraceLogger logger("qvsslinit");
  logger.DumpTraceTagTable();
  std::fflush(stdout);
}

}  // namespace qv::tools::doctor

// Prints how many blocks an engine gives out before it has none left.
// usage: count_blocks ENGINE
#include <dlfcn.h>

#include <cstdio>

#include "kit/IRefCounted.h"
#include "kit/StatusChain.h"
#include "source/client/ITraceEngine.h"

int main(int /*argc*/, char** argv) {
  using GetInterface = qv::kit::IRefCounted*(unsigned long version, qv::kit::StatusChain& status);
  void* const library = dlopen(argv[1], RTLD_NOW);
  if (library == nullptr) return 1;
  auto* const getInterface = reinterpret_cast<GetInterface*>(dlsym(library, "GetInterface"));
  if (getInterface == nullptr) return 1;
  qv::kit::StatusChain status;
  auto* const engine = dynamic_cast<qv::traceengine::ITraceEngine*>(getInterface(0, status));
  if (engine == nullptr || status.code() < 0) return 1;
  engine->addRef();
  int blocks = 0;
  while (engine->getFreeBlock() != nullptr)
    ++blocks;
  std::printf("%d\n", blocks);
  return 0;
}

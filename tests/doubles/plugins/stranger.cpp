#include "kit/IRefCounted.h"
#include "kit/StatusChain.h"

namespace {

/// An interface that nobody asks for.
class Stranger final : public qv::kit::IRefCounted {
 public:
  void addRef() override {}
  void release() override {}
};

Stranger g_stranger;

}  // namespace

/// The entry point of a trace engine; but what it gives, with a good status, is none.
extern "C" __attribute__((visibility("default"))) qv::kit::IRefCounted* GetInterface(
    unsigned long /*version*/, qv::kit::StatusChain& status) {
  status.clear();
  return &g_stranger;
}

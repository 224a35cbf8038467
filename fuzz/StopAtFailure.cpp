#include "fuzz/StopAtFailure.h"

#include <gtest/gtest.h>

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  // Nothing catches what is thrown then: the fuzzer takes it for a crash and keeps the input.
  GTEST_FLAG_SET(throw_on_failure, true);
  return 0;
}

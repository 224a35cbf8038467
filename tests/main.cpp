#include <gmock/gmock.h>

// Absurd sizes must give null, as they do without a sanitizer, rather than end the program. Locks
// taken in two orders are a finding, with both places. The sanitizers' run-time libraries look for
// these functions by name; nothing else calls them.
extern "C" {
__attribute__((visibility("default"))) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
__attribute__((visibility("default"))) const char* __tsan_default_options() {
  return "allocator_may_return_null=1:detect_deadlocks=1:second_deadlock_stack=1";
}
}

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}

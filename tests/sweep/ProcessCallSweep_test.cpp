#include "tests/sweep/ProcessCallSweep.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "tests/ScopedLocale.h"
#include "tests/TestLocale.h"
#include "tests/doubles/InChild.h"

#if defined(QV_SANITIZED)
#include <sanitizer/lsan_interface.h>

// Memory of its own that the loader loses when a library cannot be opened. The sanitizer looks for
// the function by name.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:add_to_global_resize";
}
#endif

namespace qv::tests {
namespace {

class AllocationSweep : public ProcessCallSweep {
 protected:
#if defined(QV_SANITIZED)
  /// A run takes several times as long: a sample must do unless QV_SWEEP_STRIDE says otherwise. And
  /// the loader, which has more to close here, keeps its lock for ever when it has no memory for
  /// that.
  static constexpr std::uint64_t kUsualStride = 5;
  static constexpr bool kSparesLoader = true;

  bool leaks() const override {
    return __lsan_do_recoverable_leak_check() != 0;
  }
#else
  static constexpr std::uint64_t kUsualStride = 1;
  static constexpr bool kSparesLoader = false;
#endif

  static std::uint64_t stride() {
    const char* const wanted = std::getenv("QV_SWEEP_STRIDE");
    return wanted == nullptr ? kUsualStride : std::strtoull(wanted, nullptr, 10);
  }

  static Fault noMemory(Failing failing) {
    return {ProcessCall::kMemory, ENOMEM, failing, Threads::kThisOne, kSparesLoader};
  }
};

TEST_F(AllocationSweep, AnyAllocationMayFail) {
  const Result result = sweep(noMemory(Failing::kOne), stride());
  EXPECT_GT(result.calls, 400u);
  EXPECT_GT(result.nulls, 1);
}

TEST_F(AllocationSweep, MemoryMayRunOutForGoodAtAnyTime) {
  const Result result = sweep(noMemory(Failing::kAllFrom), 7 * stride());
  EXPECT_GT(result.calls, 400u);
  EXPECT_GT(result.nulls, 1);
}

#if defined(QV_SANITIZED)
TEST_F(AllocationSweep, WouldNoticeMemoryThatIsLost) {
  EXPECT_EQ(InChild([this] {
              // Where the last one lies may still be written somewhere.
              for (int i = 0; i < 100; ++i)
                static_cast<void>(std::malloc(1));
              return leaks() ? 1 : 0;
            }),
            1);
}
#endif

// A sanitizer takes memory for each thread, and needs the other calls for itself.
#if !defined(QV_SANITIZED)

TEST_F(AllocationSweep, TheTraceEnginesThreadTakesNoMemory) {
  EXPECT_EQ(sweep({ProcessCall::kMemory, ENOMEM, Failing::kOne, Threads::kAllOthers}, 1).calls, 0u);
}

// What there was no memory for when the library was loaded is not made for it either.
TEST(Uninit, OfNullTakesNoMemory) {
  const ProcessCalls::Fault noMemory{ProcessCall::kMemory, ENOMEM, ProcessCalls::Failing::kAllFrom,
                                     ProcessCalls::Threads::kThisOne, true};
  EXPECT_EQ(InChild([&] {
              const ProcessCalls calls(noMemory, 1);
              void* const library = ::dlopen(QV_LIBRARY, RTLD_NOW);
              if (library == nullptr) return -1;
              void* const uninit = ::dlsym(library, "QVSSLINIT_Uninit");
              const std::uint64_t before = ProcessCalls::calls();
              reinterpret_cast<void (*)(void*)>(uninit)(nullptr);
              return before == 0 ? -2 : static_cast<int>(ProcessCalls::calls() - before);
            }),
            0);
}

// Nobody asks for the error number of these two.
class LookUpSweep : public ProcessCallSweep {};

TEST_F(LookUpSweep, AnyLookUpOfAFunctionMayFail) {
  // Both exports and the 41 functions of OpenSSL must be there; the rest may be missing.
  const Result result = sweep({ProcessCall::kDlsym, EIO}, 1);
  EXPECT_GE(result.calls, 44u);
  EXPECT_EQ(result.nulls, 43);
}

TEST_F(LookUpSweep, AnyTextConversionMayFailToBegin) {
  UseTestLocales();
  const ScopedLocale german("de_DE.ISO-8859-1");
  const Result result = sweep({ProcessCall::kIconvOpen, EINVAL}, 1);
  EXPECT_GT(result.calls, 50u);
  EXPECT_GT(result.nulls, 0);
}

class LibraryCallSweep : public ProcessCallSweep, public testing::WithParamInterface<int> {};

TEST_P(LibraryCallSweep, AnyOpeningOfALibraryMayFail) {
  // The library itself and both of OpenSSL must be there; the engine may be missing.
  const Result result = sweep({ProcessCall::kDlopen, GetParam()}, 1);
  EXPECT_GE(result.calls, 4u);
  EXPECT_EQ(result.nulls, 3);
}

TEST_P(LibraryCallSweep, TheHostNameMayBeUnknown) {
  const Result result = sweep({ProcessCall::kGethostname, GetParam()}, 1);
  EXPECT_EQ(result.calls, 1u);
  EXPECT_EQ(result.nulls, 0);
}

TEST_P(LibraryCallSweep, AnyReadingOfTheClockMayFail) {
  // Once for each record.
  const Result result = sweep({ProcessCall::kGettimeofday, GetParam()}, 1);
  EXPECT_GE(result.calls, 10u);
  EXPECT_EQ(result.nulls, 0);
}

INSTANTIATE_TEST_SUITE_P(WithAnyError, LibraryCallSweep,
                         testing::Values(EINTR, ENOSPC, EIO, EMFILE, EACCES),
                         [](const auto& info) { return ::strerrorname_np(info.param); });

#endif

}  // namespace
}  // namespace qv::tests

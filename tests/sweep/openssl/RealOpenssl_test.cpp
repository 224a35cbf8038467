#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/ssl.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string>

#include "tests/sweep/ProcessCallSweep.h"
#include "tests/sweep/openssl/RealPair.h"
#include "tests/sweep/system/KilledHost.h"
#include "tests/sweep/system/ManyProcesses.h"

// The same over the real OpenSSL, with real keys: what a server would make of them.

namespace qv::tests {
namespace {

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

void* Allocate(std::size_t size, const char* /*file*/, int /*line*/) {
  return __libc_malloc(size);
}

void* Reallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/) {
  return __libc_realloc(block, size);
}

void Free(void* block, const char* /*file*/, int /*line*/) {
  std::free(block);
}

/// Starts OpenSSL, once for all the processes to come. Its own allocations never fail.
void StartOpenssl() {
  ASSERT_EQ(CRYPTO_set_mem_functions(&Allocate, &Reallocate, &Free), 1);
  OPENSSL_init_ssl(OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

class KilledInit : public KilledHost {
 protected:
  KilledInit() : KilledHost(QV_CRYPTO_ADAPTER, QV_SSL_ADAPTER) {}
  void SetUp() override {
    StartOpenssl();
    Sweep::SetUp();
  }
  std::string troubleWithPair() const override { return TroubleWithRealPair(site_); }
};

TEST_F(KilledInit, LeavesAStoreThatTheNextOneHasOrMakesAPairIn) {
  // Keys take their time: before one call in three.
  EXPECT_GT(killEverywhere([] {}, 3), 15);
  EXPECT_GT(certificates_, 1);
}

class ManyInits : public ManyProcesses {
 protected:
  ManyInits() : ManyProcesses(QV_CRYPTO_ADAPTER, QV_SSL_ADAPTER) {}
  void SetUp() override {
    StartOpenssl();
    Sweep::SetUp();
  }
  std::string troubleWithPair() const override { return TroubleWithRealPair(site_); }
};

TEST_F(ManyInits, StartOnOneEmptyStoreTogether) {
  startTogether(2);
}

class AllocationSweepOverRealOpenssl : public ProcessCallSweep {
 protected:
  AllocationSweepOverRealOpenssl() : ProcessCallSweep(QV_CRYPTO_ADAPTER, QV_SSL_ADAPTER) {}
  void SetUp() override {
    StartOpenssl();
    Sweep::SetUp();
  }
  std::string troubleWithPair() const override { return TroubleWithRealPair(site_); }
};

TEST_F(AllocationSweepOverRealOpenssl, AnyAllocationMayFail) {
  // Those of the loader stay out: it may leave a library with dependencies half loaded, for good.
  // Keys take their time: one allocation in seventeen.
  Fault fault{ProcessCall::kMemory, ENOMEM};
  fault.sparesLoader = true;
  const Result result = sweep(fault, 17);
  EXPECT_GT(result.calls, 400u);
  EXPECT_GT(result.nulls, 3);
}

}  // namespace
}  // namespace qv::tests

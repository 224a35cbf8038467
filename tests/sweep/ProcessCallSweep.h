#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "tests/doubles/InChild.h"
#include "tests/doubles/ProcessCalls.h"
#include "tests/sweep/Sweep.h"

namespace qv::tests {

/// Runs in which calls of the process fail.
class ProcessCallSweep : public Sweep {
 protected:
  using Failing = ProcessCalls::Failing;
  using Threads = ProcessCalls::Threads;

  using Fault = ProcessCalls::Fault;

  using Sweep::Sweep;

  /// Whether the process, whose run is over, has lost memory. Only a sanitizer can tell.
  virtual bool leaks() const { return false; }

  void runWith(const Fault& fault, std::uint64_t n) try {
    *report_ = Report();
    site_.clear();
    const int lost = InChild([&] {
      {
        const ProcessCalls calls(fault, n);
        report_->run = HostRun::On(site_);
      }
      report_->calls = ProcessCalls::calls();
      tellTrouble();
      return leaks() ? 1 : 0;
    });
    expectNoTrouble();
    EXPECT_EQ(lost, 0) << "memory leaked";
  } catch (const std::runtime_error& error) {
    ADD_FAILURE() << error.what();
  }

  struct Result {
    std::uint64_t calls;
    std::uint64_t runs;
    int nulls;
  };

  /// Lets one call after the other fail, or one in stride, until there are none left.
  Result sweep(const Fault& fault, std::uint64_t stride) {
    Result result{};
    for (std::uint64_t n = 1; !HasFailure(); n += stride) {
      SCOPED_TRACE("call " + std::to_string(n));
      runWith(fault, n);
      result.calls = report_->calls;
      if (result.calls < n) break;
      ++result.runs;
      result.nulls += report_->run.ready ? 0 : 1;
    }
    std::printf("%llu calls, %llu runs, %d of them without a handle\n",
                static_cast<unsigned long long>(result.calls),
                static_cast<unsigned long long>(result.runs), result.nulls);
    return result;
  }
};

}  // namespace qv::tests

#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>

#include "tests/doubles/SslInitializerImplementationProbe.h"

namespace qv::tests {

/// Calls of each row through a CountedTable so far.
inline int g_calls[qvsslinit::kOpensslFunctionCount];
inline qvsslinit::OpensslFunctionPointers g_resolved;

template <qvsslinit::OpensslRow row, auto member>
struct Counted;
template <qvsslinit::OpensslRow row, typename Result, typename... Arguments,
          Result (*qvsslinit::OpensslFunctionPointers::*member)(Arguments...)>
struct Counted<row, member> {
  static Result call(Arguments... arguments) {
    ++g_calls[static_cast<std::size_t>(row)];
    return (g_resolved.*member)(arguments...);
  }
};

/// The functions behind the adapters that lie beside this program, found as the service finds them
/// and not yet started. One to a process.
class ResolvedOpenssl {
 public:
  ResolvedOpenssl() {
    qv::kit::StatusChain status;
    status.clear();
    singleton_ = std::make_unique<qvsslinit::SslInitializerImplementation>(status);
    qvsslinit::SslInitializerImplementationProbe::resolve(*singleton_, status);
    if (status.code() < 0) throw std::runtime_error("not every function was found");
    g_resolved = qvsslinit::SslInitializerImplementationProbe::functions(*singleton_);
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  table.name =                                                \
      &Counted<qvsslinit::OpensslRow::name, &qvsslinit::OpensslFunctionPointers::name>::call;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  }

  /// Each entry counts the call and passes it on.
  qvsslinit::OpensslFunctionPointers table{};

  static int callsOf(qvsslinit::OpensslRow row) {
    return g_calls[static_cast<std::size_t>(row)];
  }

  /// A function of OpenSSL that is not in the table, to see what those of the table have done.
  template <typename Function>
  Function* other(const char* name) const {
    void* found = qvsslinit::SslInitializerImplementationProbe::find(*singleton_, name);
    if (found == nullptr) throw std::runtime_error(std::string("no function ") + name);
    return reinterpret_cast<Function*>(found);
  }

 private:
  std::unique_ptr<qvsslinit::SslInitializerImplementation> singleton_;
};

}  // namespace qv::tests

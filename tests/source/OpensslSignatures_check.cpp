// Holds the function list against the OpenSSL headers that are installed. Compiled, never run: a
// row that calls a function otherwise than the headers declare it, and than OpensslDifferences.def
// admits, is a build error here; so is a difference admitted there that does not exist.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <string_view>
#include <type_traits>

#include "source/OpensslFunctionPointers.h"

// What ::name means where the headers declare no function of that name: a declaration of their own
// hides what a directive brings in. The parentheses keep macros from being expanded.
namespace not_in_the_headers {
struct Never;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) Never(name)(Never);
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
}  // namespace not_in_the_headers

using namespace not_in_the_headers;  // NOLINT(google-build-using-namespace): that is the point

namespace {

using qvsslinit::OpensslRow;

enum class Verdict { Same, Otherwise, NotDeclared };

template <typename Listed, typename Found>
constexpr Verdict Judge() {
  if (std::is_same_v<Found, Never(Never)>) return Verdict::NotDeclared;
  return std::is_same_v<Found, Listed> ? Verdict::Same : Verdict::Otherwise;
}

template <OpensslRow>
struct Row;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments)                                 \
  template <>                                                                                 \
  struct Row<OpensslRow::name> {                                                              \
    using Listed = std::remove_pointer_t<decltype(qvsslinit::OpensslFunctionPointers::name)>; \
    using Found = decltype(::name);                                                           \
    static constexpr Verdict kVerdict = Judge<Listed, Found>();                               \
  };
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION

// What OpensslDifferences.def admits of a row.
template <OpensslRow>
struct Admitted {
  static constexpr Verdict kVerdict = Verdict::Same;
};
#define QV_OTHERWISE(name, result, arguments)               \
  template <>                                               \
  struct Admitted<OpensslRow::name> {                       \
    using Type = result arguments;                          \
    static constexpr Verdict kVerdict = Verdict::Otherwise; \
  };
#define QV_MACRO_ONLY(name)                                   \
  template <>                                                 \
  struct Admitted<OpensslRow::name> {                         \
    static constexpr Verdict kVerdict = Verdict::NotDeclared; \
  };
#include "tests/source/OpensslDifferences.def"
#undef QV_MACRO_ONLY
#undef QV_OTHERWISE

#define QV_OPENSSL_FUNCTION(library, name, result, arguments)                            \
  static_assert(Row<OpensslRow::name>::kVerdict == Admitted<OpensslRow::name>::kVerdict, \
                #name " is not declared as it is listed");
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION

// A type with no const behind its pointers, nor behind those of a function's arguments.
template <typename T>
struct WithoutConst {
  using Type = T;
};
template <typename T>
struct WithoutConst<T*> {
  using Type = typename WithoutConst<std::remove_const_t<T>>::Type*;
};
template <typename Result, typename... Arguments>
struct WithoutConst<Result(Arguments...)> {
  using Type = typename WithoutConst<Result>::Type(typename WithoutConst<Arguments>::Type...);
};

// A macro is what becomes of its name when it is called; anything else stays as it is.
#define QV_TEXT(...) #__VA_ARGS__
#define QV_TEXT_AS_CALLED(...) QV_TEXT(__VA_ARGS__)

#define QV_OTHERWISE(name, result, arguments)                                                   \
  static_assert(std::is_same_v<Row<OpensslRow::name>::Found, Admitted<OpensslRow::name>::Type>, \
                #name " is not declared as its difference is listed");                          \
  static_assert(std::is_same_v<WithoutConst<Row<OpensslRow::name>::Listed>::Type,               \
                               WithoutConst<Row<OpensslRow::name>::Found>::Type>,               \
                #name " differs in more than const");
#define QV_MACRO_ONLY(name)                                                                  \
  static_assert(std::string_view(QV_TEXT_AS_CALLED(name())) != std::string_view(#name "()"), \
                #name " is no macro");
#include "tests/source/OpensslDifferences.def"
#undef QV_MACRO_ONLY
#undef QV_OTHERWISE

// Every row has been judged, and none has slipped into another kind.
constexpr int Count(Verdict verdict) {
  int count = 0;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) \
  if (Row<OpensslRow::name>::kVerdict == verdict) ++count;
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
  return count;
}

constexpr int kSame = Count(Verdict::Same);
constexpr int kOtherwise = Count(Verdict::Otherwise);
constexpr int kMacroOnly = Count(Verdict::NotDeclared);
static_assert(kSame == 27);
static_assert(kOtherwise == 5);
static_assert(kMacroOnly == 9);
static_assert(kSame + kOtherwise + kMacroOnly == qvsslinit::kOpensslFunctionCount);

}  // namespace

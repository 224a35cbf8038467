// Holds the function list against the OpenSSL headers that are installed. Compiled, never run: a
// row that calls a function otherwise than the headers declare it is a build error here.
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <type_traits>

#include "source/OpensslFunctionPointers.h"

// One undeclarable function for each row. Where the headers declare the name too, it means an
// overload set; where they do not, or have a macro only, it means this function alone. The
// parentheses keep macros of the same name from being expanded.
namespace not_in_the_headers {
struct Never;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments) Never*(name)(Never*);
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION
}  // namespace not_in_the_headers

using namespace not_in_the_headers;  // NOLINT(google-build-using-namespace): that is the point

namespace {

using qvsslinit::OpensslRow;

enum class Verdict { Same, Otherwise, NotDeclared };

// The candidates, best first: the headers declare exactly this type; they declare nothing, so that
// the name means a single function whose type can be deduced; they declare something else.
struct Last {};
struct Second : Last {};
struct First : Second {};

template <typename Function>
constexpr std::integral_constant<Verdict, Verdict::Same> Judge(Function* /*function*/,
                                                               First /*rank*/);
template <typename Function, typename Only>
constexpr std::integral_constant<Verdict, Verdict::NotDeclared> Judge(Only* /*function*/,
                                                                      Second /*rank*/);
template <typename Function>
constexpr std::integral_constant<Verdict, Verdict::Otherwise> Judge(Never* (*function)(Never*),
                                                                    Last /*rank*/);

template <OpensslRow>
struct Row;
#define QV_OPENSSL_FUNCTION(library, name, result, arguments)                               \
  template <>                                                                               \
  struct Row<OpensslRow::name> {                                                            \
    using Type = std::remove_pointer_t<decltype(qvsslinit::OpensslFunctionPointers::name)>; \
  };
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

// How newer headers declare a row otherwise. They may differ in const alone, so that the call
// that the row describes is a correct call of the newer function too. void where the row must be
// met exactly.
template <OpensslRow>
struct Newer {
  using Type = void;
};
#define QV_NEWER(name, result, arguments)                                       \
  template <>                                                                   \
  struct Newer<OpensslRow::name> {                                              \
    using Type = result arguments;                                              \
  };                                                                            \
  static_assert(std::is_same_v<WithoutConst<Row<OpensslRow::name>::Type>::Type, \
                               WithoutConst<Newer<OpensslRow::name>::Type>::Type>);
// Promise by now that they only read what they are given.
QV_NEWER(X509_set_issuer_name, int, (X509*, const X509_NAME*))
QV_NEWER(X509_set_subject_name, int, (X509*, const X509_NAME*))
QV_NEWER(X509V3_EXT_conf, X509_EXTENSION*,
         (LHASH_OF(CONF_VALUE) *, X509V3_CTX*, const char*, const char*))
QV_NEWER(PEM_write_bio_X509, int, (BIO*, const X509*))
// Its object and pass phrase, and what the encoder is given, are const by now.
QV_NEWER(PEM_ASN1_write_bio, int,
         (int (*)(const void*, unsigned char**), const char*, BIO*, const void*, const EVP_CIPHER*,
          const unsigned char*, int, int (*)(char*, int, int, void*), void*))
#undef QV_NEWER

// The rows that only a 1.0-series OpenSSL declares as functions; later headers have macros for
// them, and the adapters have the functions.
constexpr bool IsOfThe10SeriesOnly(OpensslRow row) {
  switch (row) {
    case OpensslRow::SSL_library_init:
    case OpensslRow::SSL_load_error_strings:
    case OpensslRow::OPENSSL_add_all_algorithms_noconf:
    case OpensslRow::CRYPTO_set_locking_callback:
    case OpensslRow::CRYPTO_set_id_callback:
    case OpensslRow::CRYPTO_set_dynlock_create_callback:
    case OpensslRow::CRYPTO_set_dynlock_lock_callback:
    case OpensslRow::CRYPTO_set_dynlock_destroy_callback:
    case OpensslRow::CRYPTO_num_locks:
    case OpensslRow::RSA_generate_key:
      return true;
    default:
      return false;
  }
}

constexpr bool Allowed(OpensslRow row, Verdict exact, Verdict newer) {
  return exact == Verdict::Same || newer == Verdict::Same ||
         (exact == Verdict::NotDeclared && IsOfThe10SeriesOnly(row));
}

#define QV_OPENSSL_FUNCTION(library, name, result, arguments)                             \
  static_assert(                                                                          \
      Allowed(OpensslRow::name,                                                           \
              decltype(Judge<Row<OpensslRow::name>::Type>(&(::name), First()))::value,    \
              decltype(Judge<Newer<OpensslRow::name>::Type>(&(::name), First()))::value), \
      "the headers declare " #name " otherwise");
#include "source/OpensslFunctions.def"
#undef QV_OPENSSL_FUNCTION

}  // namespace

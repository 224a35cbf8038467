#pragma once

#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

#include "tests/doubles/TemporaryDirectory.h"

namespace qv::tests {

/// What a process can have of OpenSSL before the service comes into it.
enum class Situation {
  Nothing,
  /// The system's own, used by the host, seen by everybody or by the host alone.
  TheSame,
  TheSameUnseen,
  /// A library with every name that the system's has, without versions, that ends the process when
  /// it is called.
  AStranger,
  /// The system's under another file name: whoever needs the system's by its name gets this one.
  ACopy,
  /// The system's under another name altogether, with the same versions of the same functions.
  ARenamedCopy,
};

inline const char* NameOf(Situation situation) {
  switch (situation) {
    case Situation::Nothing:
      return "Nothing";
    case Situation::TheSame:
      return "TheSame";
    case Situation::TheSameUnseen:
      return "TheSameUnseen";
    case Situation::AStranger:
      return "AStranger";
    case Situation::ACopy:
      return "ACopy";
    case Situation::ARenamedCopy:
      return "ARenamedCopy";
  }
  return "";
}

inline void PrintTo(Situation situation, std::ostream* out) {
  *out << NameOf(situation);
}

/// Whether the process is one in which libraries cannot be opened in a scope of their own. What a
/// stranger's functions do to OpenSSL cannot be helped there.
inline bool IsSanitized() {
  return ::dlsym(RTLD_DEFAULT, "__sanitizer_print_stack_trace") != nullptr;
}

/// Puts this process into a situation, for good.
class Host {
 public:
  explicit Host(Situation situation) {
    if (::dlopen(kCrypto, RTLD_NOW | RTLD_NOLOAD) != nullptr) {
      throw std::runtime_error("this program brings OpenSSL along");
    }
    switch (situation) {
      case Situation::Nothing:
        break;
      case Situation::TheSame:
        use(open(kSsl, RTLD_GLOBAL));
        break;
      case Situation::TheSameUnseen:
        use(open(kSsl, RTLD_LOCAL));
        break;
      case Situation::AStranger:
        open(QV_STRANGER, RTLD_GLOBAL);
        break;
      case Situation::ACopy:
        openCopies([](const std::string& name) { return name; });
        break;
      case Situation::ARenamedCopy:
        openCopies([](const std::string& name) { return "alt" + name.substr(3); });
        break;
    }
  }

  /// The file of the libcrypto that the adapters lead to.
  const std::string& expectedCrypto() const { return expectedCrypto_; }
  const std::string& expectedSsl() const { return expectedSsl_; }

 private:
  static constexpr const char* kCrypto = QV_LIBCRYPTO;
  static constexpr const char* kSsl = QV_LIBSSL;

  static void* open(const std::string& file, int visibility) {
    void* library = ::dlopen(file.c_str(), RTLD_NOW | visibility);
    if (library == nullptr) throw std::runtime_error(::dlerror());
    return library;
  }

  /// So that it has state of its own, for the process and for this thread.
  static void use(void* ssl) {
    const auto find = [&](const char* name) { return ::dlsym(ssl, name); };
    reinterpret_cast<int (*)(unsigned long, const void*)>(find("OPENSSL_init_ssl"))(0, nullptr);
    unsigned char bytes[16];
    reinterpret_cast<int (*)(unsigned char*, int)>(find("RAND_bytes"))(bytes, sizeof bytes);
  }

  /// Copies of both, which know each other by the names that rename gives their own.
  template <typename Rename>
  void openCopies(Rename rename) {
    const std::string crypto = contentsOf(kCrypto);
    const std::string ssl = contentsOf(kSsl);
    const std::string cryptoName = nameIn(crypto, "libcrypto.so.");
    const std::string sslName = nameIn(ssl, "libssl.so.");
    copies_.write("one.so", replaced(crypto, cryptoName, rename(cryptoName)));
    copies_.write("two.so", replaced(replaced(ssl, cryptoName, rename(cryptoName)), sslName,
                                     rename(sslName)));
    open(copies_.path("one.so"), RTLD_GLOBAL);
    use(open(copies_.path("two.so"), RTLD_GLOBAL));
    if (rename(cryptoName) == cryptoName) {
      expectedCrypto_ = copies_.path("one.so");
      expectedSsl_ = copies_.path("two.so");
    }
  }

  static std::string contentsOf(const std::string& file) {
    std::string contents(std::filesystem::file_size(file), '\0');
    std::ifstream(file, std::ios::binary)
        .read(contents.data(), static_cast<std::streamsize>(contents.size()));
    return contents;
  }

  /// The text in a library that begins like this: the name under which others need it.
  static std::string nameIn(const std::string& library, const std::string& begin) {
    const auto place = library.find('\0' + begin);
    if (place == std::string::npos) throw std::runtime_error("no name " + begin);
    return library.c_str() + place + 1;
  }

  /// The library with its only text name in another spelling of the same length.
  static std::string replaced(std::string library, const std::string& name,
                              const std::string& other) {
    const std::string text = '\0' + name + '\0';
    const auto place = library.find(text);
    if (place == std::string::npos || library.find(text, place + 1) != std::string::npos) {
      throw std::runtime_error("not exactly one name " + name);
    }
    return library.replace(place + 1, name.size(), other);
  }

  TemporaryDirectory copies_;
  std::string expectedCrypto_ = std::filesystem::canonical(kCrypto);
  std::string expectedSsl_ = std::filesystem::canonical(kSsl);
};

}  // namespace qv::tests

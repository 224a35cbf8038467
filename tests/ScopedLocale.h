#pragma once

#include <clocale>
#include <stdexcept>
#include <string>

// The C library's locale for the life of this object.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) : previous_(std::setlocale(LC_ALL, nullptr)) {
    if (std::setlocale(LC_ALL, name) == nullptr) throw std::runtime_error(name);
  }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;
  ~ScopedLocale() { std::setlocale(LC_ALL, previous_.c_str()); }

 private:
  std::string previous_;
};

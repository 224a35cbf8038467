#include "source/OpensslObjects.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using qvsslinit::EVP_PKEY;
using qvsslinit::OpensslObjects;
using qvsslinit::RSA;
using qvsslinit::X509;

// Objects as a 1.0-series library lays them out, built word by word.
struct OldCertificate {
  int notBefore = 0;
  int notAfter = 0;
  void* validity[2] = {&notBefore, &notAfter};
  void* info[5] = {nullptr, nullptr, nullptr, nullptr, validity};
  void* certificate[1] = {info};

  X509* get() { return reinterpret_cast<X509*>(certificate); }
};

void NeverFree(RSA* /*key*/) {
  FAIL() << "a key that was only looked at has been freed";
}

TEST(OpensslObjects, FindsTheValidityTimesInA10SeriesCertificate) {
  OldCertificate old;
  const OpensslObjects objects;
  EXPECT_EQ(static_cast<void*>(objects.notBefore(old.get())), &old.notBefore);
  EXPECT_EQ(static_cast<void*>(objects.notAfter(old.get())), &old.notAfter);
}

TEST(OpensslObjects, FindsNoTimesInA10SeriesCertificateWithoutValidity) {
  OldCertificate old;
  const OpensslObjects objects;
  old.info[4] = nullptr;
  EXPECT_EQ(objects.notBefore(old.get()), nullptr);
  EXPECT_EQ(objects.notAfter(old.get()), nullptr);
  old.certificate[0] = nullptr;
  EXPECT_EQ(objects.notBefore(old.get()), nullptr);
  EXPECT_EQ(objects.notAfter(old.get()), nullptr);
}

TEST(OpensslObjects, LooksAtTheRsaKeyInA10SeriesKeyObjectWithoutFreeingIt) {
  constexpr std::size_t kKeyOffset = sizeof(void*) == 4 ? 20 : 32;
  int rsa = 0;
  void* const pointer = &rsa;
  alignas(void*) unsigned char key[64] = {};
  std::memcpy(key + kKeyOffset, &pointer, sizeof pointer);
  const OpensslObjects objects;
  EXPECT_EQ(static_cast<void*>(objects.rsaKey(reinterpret_cast<EVP_PKEY*>(key), NeverFree).get()),
            &rsa);
}

}  // namespace

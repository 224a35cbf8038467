#include "source/OpensslObjects.h"

#include <gtest/gtest.h>

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

struct OldKey {
  int numbers[3] = {};
  const void* method = nullptr;
  void* engine = nullptr;
  void* key = &rsa;
  int rsa = 0;

  EVP_PKEY* get() { return reinterpret_cast<EVP_PKEY*>(this); }
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
  OldKey old;
  const OpensslObjects objects;
  EXPECT_EQ(static_cast<void*>(objects.rsaKey(old.get(), NeverFree).get()), old.key);
}

}  // namespace

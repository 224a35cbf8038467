#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using Lines = std::vector<std::string>;

const std::string kFreeRsa = "RSA_free(rsa-1)";
const std::string kFreeKey = "EVP_PKEY_free(key-1)";
const std::string kFreeCertificate = "X509_free(x509-1)";
const std::string kGetError = "ERR_get_error()";
const std::string kGetReason = "ERR_reason_error_string(218529960)";
const Lines kFreeBoth = {kFreeKey, kFreeCertificate};

/// A call that fails, and the calls that follow it.
struct Failing {
  std::string function;
  int call;
  Lines afterwards;
};

void PrintTo(const Failing& failing, std::ostream* out) {
  *out << failing.function << " " << failing.call;
}

const Failing kFailing[] = {
    {"RSA_generate_key", 1, {}},
    {"RSA_check_key", 1, {kFreeRsa}},
    {"EVP_PKEY_new", 1, {kFreeRsa}},
    {"EVP_PKEY_assign", 1, {kFreeRsa, kFreeKey}},
    {"BIO_new_file", 1, {kFreeKey}},
    {"EVP_PKEY_get0_RSA", 1, {kGetError, kGetReason, "BIO_free(bio-1)", kFreeKey}},
    {"PEM_ASN1_write_bio", 1, {kGetError, kGetReason, "BIO_free(bio-1)", kFreeKey}},
    {"X509_new", 1, {kFreeKey}},
    {"X509_set_version", 1, kFreeBoth},
    {"X509_NAME_new", 1, kFreeBoth},
    {"X509_NAME_add_entry_by_txt", 1, kFreeBoth},
    {"X509_NAME_add_entry_by_txt", 2, kFreeBoth},
    {"X509_NAME_add_entry_by_txt", 3, kFreeBoth},
    {"X509_NAME_add_entry_by_txt", 4, kFreeBoth},
    {"X509_NAME_add_entry_by_txt", 5, kFreeBoth},
    {"X509_NAME_add_entry_by_txt", 6, kFreeBoth},
    {"X509_set_issuer_name", 1, kFreeBoth},
    {"X509_set_subject_name", 1, kFreeBoth},
    {"X509V3_EXT_conf", 1, kFreeBoth},
    {"X509_add_ext", 1, {"X509_EXTENSION_free(extension-1)", kFreeKey, kFreeCertificate}},
    {"X509_getm_notBefore", 1, kFreeBoth},
    {"X509_gmtime_adj", 1, kFreeBoth},
    {"X509_getm_notAfter", 1, kFreeBoth},
    {"X509_gmtime_adj", 2, kFreeBoth},
    {"X509_get_serialNumber", 1, kFreeBoth},
    {"ASN1_INTEGER_set", 1, kFreeBoth},
    {"X509_set_pubkey", 1, kFreeBoth},
    {"EVP_sha1", 1, kFreeBoth},
    {"X509_sign", 1, kFreeBoth},
    {"BIO_new_file", 2, kFreeBoth},
    {"PEM_write_bio_X509", 1, {"BIO_free(bio-2)", kFreeKey, kFreeCertificate}},
};

/// The lines after this call of function.
Lines After(const Lines& lines, const std::string& function, int call) {
  const auto isCall = [&](const std::string& line) { return line.rfind(function + "(", 0) == 0; };
  auto place = std::find_if(lines.begin(), lines.end(), isCall);
  for (int i = 1; i < call && place != lines.end(); ++i)
    place = std::find_if(place + 1, lines.end(), isCall);
  if (place == lines.end()) return {function + " was not called so often"};
  return {place + 1, lines.end()};
}

class CleanUp : public testing::TestWithParam<Failing> {};

TEST_P(CleanUp, FollowsTheFailedCallAtOnceAndInOrder) {
  Installation installation;
  Journal& journal = Journal::instance();
  journal.fail(GetParam().function, GetParam().call);
  ASSERT_NE(installation.init(), nullptr);
  EXPECT_THAT(After(journal.lines(), GetParam().function, GetParam().call),
              testing::ElementsAreArray(GetParam().afterwards));
}

INSTANTIATE_TEST_SUITE_P(AfterAFailure, CleanUp, testing::ValuesIn(kFailing), [](const auto& info) {
  return info.param.function + "_" + std::to_string(info.param.call);
});

}  // namespace
}  // namespace qv::tests

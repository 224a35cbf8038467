#include "tools/doctor/PairExamination.h"

#include "tools/common/Printable.h"
#include "tools/common/SmallFile.h"
#include "tools/doctor/CertificateJudgement.h"
#include "tools/doctor/StoreAccess.h"
#include "tools/doctor/SystemOpenssl.h"

namespace qv::tools::doctor {
namespace {

constexpr char kDefaultName[] = "server_0";
constexpr char kUnjudged[] =
    "The system's OpenSSL cannot be opened: keys and certificates are not judged";

}  // namespace

PairExamination::PairExamination(const std::string& stem, Section& section)
    : section_(section),
      isDefault_(Name(stem) == kDefaultName),
      key_(stem + ".key"),
      certificate_(stem + ".cer") {}

void PairExamination::run(Fact& files) {
  if (certificate_.isHidden() || key_.isHidden()) {
    const FileFacts& hidden = key_.isHidden() ? key_ : certificate_;
    section_.wrong(Short(hidden) + " is " + hidden.kindText(), kShowIt);
    return;
  }
  judgeMissing();
  if (certificate_.isThere() || certificate_.isLink) {
    Fact facts = certificate_.json();
    facts["role"] = "certificate";
    judgeWriters(certificate_);
    judgeCertificate(facts);
    files.add(facts);
  }
  if (key_.isThere() || key_.isLink) {
    Fact facts = key_.json();
    facts["role"] = "key";
    judgeWriters(key_);
    judgeKey(facts);
    files.add(facts);
  }
}

std::string PairExamination::Short(const FileFacts& file) {
  return Quoted(Name(Directory(file.path)) + "/" + Name(file.path));
}

std::string PairExamination::replaceAdvice() const {
  return isDefault_
             ? "qvsslinit-cert --replace makes a new pair, with --import it takes one of your own. "
               "Or remove both files: the first Init of the next process makes a pair."
             : "Put the file back from where it came.";
}

void PairExamination::judgeMissing() {
  const bool hasKey = key_.isThere();
  const bool hasCertificate = certificate_.isThere();
  if (hasKey && hasCertificate) return;
  if (!isDefault_) {
    for (const FileFacts* file : {&key_, &certificate_}) {
      if (!file->isThere()) {
        section_.note(Short(*file) + ", the other half of a pair, is " + file->kindText());
      }
    }
  } else if (hasCertificate) {
    section_.wrong(Short(key_) + " is " + key_.kindText() + ": its certificate is of no use",
                   replaceAdvice());
  } else if (hasKey) {
    section_.note(Short(certificate_) + " is " + certificate_.kindText() +
                      ": Init makes a new pair, and the key that is there is overwritten",
                  "Move the key away if it is still needed.");
  } else {
    section_.note("There is no default key and certificate yet: the first Init makes them");
    for (const FileFacts* file : {&key_, &certificate_}) {
      if (!file->isLink) continue;
      section_.note(Short(*file) + " is a link to " + Quoted(file->linkTarget) +
                        ": Init makes it there, if that directory is there",
                    "Remove the link unless it is meant.");
    }
  }
}

bool PairExamination::read(const FileFacts& file, std::string& text) {
  const std::string path = Short(file);
  if (!file.isThere()) return false;  // said already
  if (!file.isRegular()) {
    section_.wrong(path + " is " + file.kindText() + ", not a file", "Move it away.");
    return false;
  }
  const SmallFile pem(file);
  if (!pem.failure.empty()) {
    section_.wrong(path + " cannot be read: " + pem.failure, kLetItRead);
    return false;
  }
  if (pem.text.empty()) {
    section_.wrong(path + " is empty", replaceAdvice());
    return false;
  }
  text = pem.text;
  return true;
}

void PairExamination::judgeCertificate(Fact& facts) {
  if (!read(certificate_, certificateText_)) return;
  const SystemOpenssl* const openssl = SystemOpenssl::get();
  if (openssl == nullptr) {
    section_.note(kUnjudged, "Install OpenSSL's libraries.");
    return;
  }
  std::string reason;
  const bool isWhole =
      JudgeCertificate(*openssl, certificateText_, Short(certificate_), section_, facts, reason);
  facts["whole"] = isWhole;
  if (!isWhole) {
    section_.wrong(Short(certificate_) + " holds no whole certificate: " + reason, replaceAdvice());
    certificateText_.clear();
  }
}

void PairExamination::judgeKey(Fact& facts) {
  judgeAccess(facts);
  if (!read(key_, keyText_)) return;
  const SystemOpenssl* const openssl = SystemOpenssl::get();
  if (openssl == nullptr) return;  // said with the certificate, or there is nothing to match
  const auto key = openssl->readKey(keyText_);
  facts["whole"] = key != nullptr;
  if (key != nullptr) {
    facts["key_type"] = openssl->EVP_PKEY_get0_type_name(key.get());
    facts["key_bits"] = openssl->EVP_PKEY_get_bits(key.get());
    judgeMatch(facts);
  } else if (keyText_.find("ENCRYPTED") != std::string::npos) {
    section_.wrong(Short(key_) + " wants a pass phrase, which a server has nobody to ask for",
                   "Store the key without one: openssl rsa -in FILE -out NEWFILE");
  } else {
    section_.wrong(Short(key_) + " holds no whole private key: " + openssl->takeError(),
                   replaceAdvice());
  }
}

void PairExamination::judgeWriters(const FileFacts& file) {
  if (!file.isRegular()) return;
  const FileFacts store(Directory(Directory(file.path)));
  JudgeWriters(file, Short(file), store.uid, section_);
}

void PairExamination::judgeAccess(Fact& facts) {
  if (!key_.isRegular()) return;
  const bool others = IsReadableByOthers(key_);
  const bool group = IsReadableByGroup(key_);
  facts["readable_by_others"] = others;
  facts["readable_by_group"] = group;
  const std::string key = Short(key_);
  if (others) {
    section_.wrong(key + " can be read by everybody on this machine: " + key_.accessText(),
                   "chmod 0600 the key. It may have been copied: get a new pair.");
  } else if (group) {
    section_.note(
        key + " can be read by the group " + Printable(key_.group) + ": " + key_.accessText(),
        "chmod 0600 the key, unless that group is meant to have it.");
  } else {
    section_.ok(key + " cannot be read by others: " + key_.accessText());
  }
}

void PairExamination::judgeMatch(Fact& facts) {
  if (certificateText_.empty()) return;
  const SystemOpenssl& openssl = *SystemOpenssl::get();
  const auto certificate = openssl.readCertificate(certificateText_);
  const auto key = openssl.readKey(keyText_);
  const bool matches = openssl.X509_check_private_key(certificate.get(), key.get()) == 1;
  openssl.ERR_clear_error();
  facts["matches"] = matches;
  if (matches) {
    section_.ok(Short(key_) + " and its certificate match");
  } else {
    section_.wrong(Short(key_) + " is the key of another certificate", replaceAdvice());
  }
}

}  // namespace qv::tools::doctor

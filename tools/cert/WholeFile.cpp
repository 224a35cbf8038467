#include "tools/cert/WholeFile.h"

#include <utility>

#include "tools/cert/Failure.h"
#include "tools/common/Printable.h"
#include "tools/common/SmallFile.h"

namespace qv::tools::cert {

std::string ReadWhole(const std::string& path) {
  const FileFacts facts(path);
  if (!facts.isThere()) throw Failure(Quoted(path) + " is " + facts.kindText());
  SmallFile file(facts);
  if (!file.failure.empty()) throw Failure(Quoted(path) + " cannot be read: " + file.failure);
  if (file.isCut)
    throw Failure(Quoted(path) + " has more than 1 MiB, as no key or certificate has");
  return std::move(file.text);
}

}  // namespace qv::tools::cert

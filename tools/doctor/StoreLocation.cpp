#include "tools/doctor/StoreLocation.h"

#include <cstdlib>

#include "kit/StringBase.h"
#include "kit/osdep/GetCertStoreDir.h"
#include "tools/doctor/Printable.h"

namespace qv::doctor {

std::string LocateStore(Section& section) {
  std::string store = kit::String(kit::osdep::GetCertStoreDir()).c_str();
  section.facts["path"] = store;
  const char* value = std::getenv("QVPUBAPPDATADIR");
  section.facts["QVPUBAPPDATADIR"] = value == nullptr ? Fact() : Fact(value);
  if (value == nullptr) {
    section.ok("It is " + Quoted(store) + "; QVPUBAPPDATADIR is not set");
    return store;
  }
  const std::string wanted = value;
  if (wanted.empty() || wanted[0] != '/') {
    section.wrong("QVPUBAPPDATADIR is " + Quoted(wanted) +
                      ", which is no absolute path, and is ignored: the store is " + Quoted(store),
                  "Set it to a path that begins with a slash, or not at all.");
  } else if (store.compare(0, wanted.size(), wanted) != 0) {
    section.wrong("QVPUBAPPDATADIR is " + Quoted(wanted) +
                      ", which cannot be read in this locale: the store is " + Quoted(store),
                  "Run the server in a UTF-8 locale that is installed, or use ASCII letters only.");
  } else {
    section.ok("It is " + Quoted(store) + ", by QVPUBAPPDATADIR");
  }
  return store;
}

}  // namespace qv::doctor

// Writes values that every program of this name knows into files, or reads such files and says
// which value is not as it should be: programs of different widths read each other's.
//
//     width_exchange write DIRECTORY
//     width_exchange read DIRECTORY
//
// Exits with 0, with 1 where a file or a value is not right, and with 2 for any other call.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/exchange/ExchangedFile.h"

namespace {

using qv::tests::ExchangedFile;

std::vector<ExchangedFile> AllFiles() {
  std::vector<ExchangedFile> all;
  for (const auto& files : {qv::tests::SerializedFiles(), qv::tests::RingFiles(),
                            qv::tests::ByteVectorFiles(), qv::tests::IniFiles()}) {
    all.insert(all.end(), files.begin(), files.end());
  }
  return all;
}

bool Succeeds(const std::string& name, const std::function<void()>& action) {
  try {
    action();
    return true;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return false;
  }
}

int Exchange(bool writes) {
  bool isRight = true;
  for (const ExchangedFile& file : AllFiles())
    isRight = Succeeds(file.name, writes ? file.write : file.read) && isRight;
  return isRight ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::string verb = argc == 3 ? argv[1] : "";
  if (verb != "write" && verb != "read") {
    std::fprintf(stderr, "usage: width_exchange write|read DIRECTORY\n");
    return 2;
  }
  int result = 1;
  const bool isDone = Succeeds(argv[2], [&] {
    std::filesystem::current_path(argv[2]);
    result = Exchange(verb == "write");
  });
  return isDone ? result : 1;
}

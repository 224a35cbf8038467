#include <string>

#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "fuzz/RunOneOf.h"
#include "kit/StringBase.h"
#include "tests/kit/StringEdits.h"

// Strings: the input is a program of edits and questions, which a string of each form and one of
// the standard library answer alike.

namespace {

using namespace qv::kit;
using qv::fuzz::Input;

template <typename StringT>
void RunProgram(Input& input) {
  qv::tests::StringEdits<StringT, Input> strings(input);
  constexpr int kMostSteps = 100;
  for (int step = 0; step < kMostSteps && !input.empty(); ++step) {
    SCOPED_TRACE("step " + std::to_string(step));
    strings.edit();
    if (input.flip()) strings.ask();
  }
}

constexpr qv::fuzz::Check kStringChecks[] = {&RunProgram<WString>, &RunProgram<String>,
                                             &RunProgram<CountedString>, &RunProgram<Utf8String>};

}  // namespace

extern "C" int QV_FUZZER(string)(const std::uint8_t* data, std::size_t size) {
  qv::fuzz::RunOneOf(kStringChecks, data, size);
  return 0;
}

#pragma once

#include <cstddef>
#include <cstdint>

/// What every file NAME_fuzzer.cpp defines: tries the properties of its target on these bytes, and
/// says with a failed GoogleTest assertion which one they break. Gives 0. In the replay, which
/// holds all fuzzers in one program, the name is that of the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

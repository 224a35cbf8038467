#pragma once

#include <cstddef>
#include <cstdint>

/// The function that every file NAME_fuzzer.cpp defines, QV_FUZZER(NAME): tries the properties of
/// its target on these bytes, and says with a failed GoogleTest assertion which one they break.
/// Gives 0. Built alone it has the name that libFuzzer calls; the replay links all of them, so each
/// has its own.
#if defined(QV_FUZZ_REPLAY)
#define QV_FUZZER(name) qv_fuzz_##name
#else
#define QV_FUZZER(name) LLVMFuzzerTestOneInput
#endif

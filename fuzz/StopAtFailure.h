#pragma once

/// Called by libFuzzer before the first input. From then on a failed assertion ends the process,
/// with its message printed.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

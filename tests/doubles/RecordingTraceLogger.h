#pragma once

// A trace client that hands every record to the test. Linked in place of the real one.

extern "C" {

/// Receives one record: "5 | function | message" under tag 5, "ERROR | function | message" for an
/// error. Calls do not overlap.
using QvTestTraceSink = void (*)(const char* record, void* context);

/// Sends records to sink from now on; null drops them.
__attribute__((visibility("default"))) void QVTEST_SetTraceSink(QvTestTraceSink sink,
                                                                void* context);

/// While refuse is not 0, no trace logger can be made: its constructor throws std::bad_alloc.
__attribute__((visibility("default"))) void QVTEST_RefuseTraceLoggers(int refuse);

}  // extern "C"

#pragma once

// The virtual operations of our objects, each called by plain C that knows no more than layout.h:
// it fetches the table from the object and calls what stands in the slot.

#include "abi/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Calls the operation in a slot of any object, one that takes and gives nothing.
void CallSlot(void* object, size_t slot);

void CallDestructor(void* object);
void CallDeletingDestructor(void* object);

const char* CallWhat(const void* exception);
int32_t CallGetErrorCode(const void* exception);
uint32_t CallWhatcode(const void* exception);

void CallUnload(void* library);
void CallLoad(void* library);

LoggingBlockLayout* CallGiveOut(void* factory);
void CallTakeBack(void* factory, LoggingBlockLayout* block);

void CallAddRef(void* object);
void CallRelease(void* object);
void CallSendBlock(void* engine, LoggingBlockLayout* block);
LoggingBlockLayout* CallGetFreeBlock(void* engine);
bool CallShowTagNames(void* engine);
void CallGetConfigDirectory(void* engine, WideStringLayout* directory);
void CallNoteDroppedRecord(void* engine);

/// Calls the entry point of an engine.
void* CallGetInterface(GetInterfaceFunction* entryPoint, unsigned long version,
                       StatusChainLayout* status);

/// Fills an empty block as a client does: with a text, its terminator included, and a time.
void FillBlock(LoggingBlockLayout* block, const char* text, FixedPointLayout timeStamp);

#ifdef __cplusplus
}
#endif

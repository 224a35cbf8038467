#include "tests/abi/calls.h"

#include <string.h>

#include "include/qvsslinit.h"

// What hosts were compiled with: the compiler refuses any other signature in the header.
struct QvSslInitHandle* QVSSLINIT_Init(void);
void QVSSLINIT_Uninit(struct QvSslInitHandle* handle);

typedef void (*Operation)(void* self);

/// What every object with virtual operations begins with.
typedef struct ObjectLayout {
  const Operation* operations;
} ObjectLayout;

void CallSlot(void* object, size_t slot) {
  ((const ObjectLayout*)object)->operations[slot](object);
}

void CallDestructor(void* object) {
  const Destructors* const* operations = object;
  (*operations)->destructor(object);
}

void CallDeletingDestructor(void* object) {
  const Destructors* const* operations = object;
  (*operations)->deletingDestructor(object);
}

const char* CallWhat(const void* exception) {
  return ((const ExceptionLayout*)exception)->operations->what(exception);
}

int32_t CallGetErrorCode(const void* exception) {
  return ((const ExceptionLayout*)exception)->operations->getErrorCode(exception);
}

uint32_t CallWhatcode(const void* exception) {
  const OSExceptionOperations* const* operations = exception;
  return (*operations)->whatcode(exception);
}

void CallUnload(void* library) {
  ((const SharedLibraryLayout*)library)->operations->unload(library);
}

void CallLoad(void* library) {
  ((const SharedLibraryLayout*)library)->operations->load(library);
}

LoggingBlockLayout* CallGiveOut(void* factory) {
  return ((const LoggingBlockFactoryLayout*)factory)->operations->giveOut(factory);
}

void CallTakeBack(void* factory, LoggingBlockLayout* block) {
  ((const LoggingBlockFactoryLayout*)factory)->operations->takeBack(factory, block);
}

void CallAddRef(void* object) {
  ((const RefCountedLayout*)object)->operations->addRef(object);
}

void CallRelease(void* object) {
  ((const RefCountedLayout*)object)->operations->release(object);
}

void CallSendBlock(void* engine, LoggingBlockLayout* block) {
  ((const TraceEngineLayout*)engine)->operations->sendBlock(engine, block);
}

LoggingBlockLayout* CallGetFreeBlock(void* engine) {
  return ((const TraceEngineLayout*)engine)->operations->getFreeBlock(engine);
}

bool CallShowTagNames(void* engine) {
  return ((const TraceEngineLayout*)engine)->operations->showTagNames(engine);
}

void CallGetConfigDirectory(void* engine, WideStringLayout* directory) {
  ((const TraceEngineLayout*)engine)->operations->getConfigDirectory(engine, directory);
}

void CallNoteDroppedRecord(void* engine) {
  ((const TraceEngineLayout*)engine)->operations->noteDroppedRecord(engine);
}

void* CallGetInterface(GetInterfaceFunction* entryPoint, unsigned long version,
                       StatusChainLayout* status) {
  return entryPoint(version, status);
}

void FillBlock(LoggingBlockLayout* block, const char* text, FixedPointLayout timeStamp) {
  const size_t size = strlen(text) + 1;
  memcpy(block->payload, text, size);
  block->used = (int32_t)size;
  block->timeStamp = timeStamp;
}

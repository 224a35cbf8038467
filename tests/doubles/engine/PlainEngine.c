// The engine double once more, written in plain C from the layouts alone: tables and descriptions
// of types are made here by hand, as a compiler of another language would make them. It writes down
// its calls and takes from the script whether there are blocks, the directory and whether to show
// names.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "abi/layout.h"
#include "tests/doubles/engine/journal.h"

// What types without a base and with one are described by, in the C++ runtime.
extern const void* const _ZTVN10__cxxabiv117__class_type_infoE[];
extern const void* const _ZTVN10__cxxabiv120__si_class_type_infoE[];

/// Behind the head of the table.
#define OPERATIONS_OF(table) (&(table)[2])

static const TypeLayout kBlockType = {OPERATIONS_OF(_ZTVN10__cxxabiv117__class_type_infoE),
                                      "N2qv11traceengine12LoggingBlockE", NULL};
static const TypeLayout kFactoryType = {OPERATIONS_OF(_ZTVN10__cxxabiv117__class_type_infoE),
                                        "N2qv11traceengine20ILoggingBlockFactoryE", NULL};
static const TypeLayout kRefCountedType = {OPERATIONS_OF(_ZTVN10__cxxabiv117__class_type_infoE),
                                           "N2qv3kit11IRefCountedE", NULL};
static const TypeLayout kEngineType = {OPERATIONS_OF(_ZTVN10__cxxabiv120__si_class_type_infoE),
                                       "N2qv11traceengine12ITraceEngineE", &kRefCountedType};

// Blocks

static void BlockDestructor(void* self) {
  (void)self;
  QVTEST_Note("block ended");
}

static void BlockDeletingDestructor(void* self) {
  QVTEST_Note("block deleted");
  free(self);
}

static const struct {
  TableHead head;
  Destructors operations;
} kBlockTable = {{0, &kBlockType}, {BlockDestructor, BlockDeletingDestructor}};

static LoggingBlockLayout* GiveOut(void* self) {
  QVTEST_Note("giveOut");
  LoggingBlockLayout* const block = calloc(1, sizeof(*block));
  if (block == NULL) return NULL;
  block->operations = &kBlockTable.operations;
  block->type = 2;
  block->factory = self;
  return block;
}

static void TakeBack(void* self, LoggingBlockLayout* block) {
  (void)self;
  QVTEST_Note("takeBack");
  free(block);
}

static const struct {
  TableHead head;
  LoggingBlockFactoryOperations operations;
} kFactoryTable = {{0, &kFactoryType}, {GiveOut, TakeBack}};

static LoggingBlockFactoryLayout g_factory = {&kFactoryTable.operations};

// The engine

static int g_references = 0;

static void AddRef(void* self) {
  (void)self;
  QVTEST_Note("addRef");
  ++g_references;
}

static void Release(void* self) {
  (void)self;
  QVTEST_Note("release");
  if (--g_references == 0) QVTEST_Note("destroyed");
}

static void SendBlock(void* self, LoggingBlockLayout* block) {
  (void)self;
  QVTEST_Note("sendBlock");
  QVTEST_KeepBlock(block);
  free(block);
}

static LoggingBlockLayout* GetFreeBlock(void* self) {
  (void)self;
  QVTEST_Note("getFreeBlock");
  return QVTEST_HasBlocks() ? GiveOut(&g_factory) : NULL;
}

static bool ShowTagNames(void* self) {
  (void)self;
  QVTEST_Note("showTagNames");
  return QVTEST_ShowTagNames();
}

static void GetConfigDirectory(void* self, WideStringLayout* directory) {
  (void)self;
  QVTEST_Note("getConfigDirectory");
  const wchar_t* const text = QVTEST_ConfigDirectory();
  const size_t length = wcslen(text);
  wchar_t* const storage = malloc((length + 1) * sizeof(*storage));
  if (storage == NULL) return;
  wmemcpy(storage, text, length + 1);
  free(directory->begin);
  directory->begin = storage;
  directory->end = directory->capacityEnd = storage + length;
}

static void NoteDroppedRecord(void* self) {
  (void)self;
  QVTEST_Note("noteDroppedRecord");
}

static const struct {
  TableHead head;
  TraceEngineOperations operations;
} kEngineTable = {{0, &kEngineType},
                  {{AddRef, Release},
                   SendBlock,
                   GetFreeBlock,
                   ShowTagNames,
                   GetConfigDirectory,
                   NoteDroppedRecord}};

static TraceEngineLayout g_engine = {&kEngineTable.operations};

QVTEST_EXPORTED GetInterfaceFunction GetInterface;

RefCountedLayout* GetInterface(unsigned long version, StatusChainLayout* status) {
  char call[64];
  snprintf(call, sizeof call, "GetInterface(%lu) at %08X", version, (unsigned)status->current.code);
  QVTEST_Note(call);
  status->current.code = 0;
  return (RefCountedLayout*)&g_engine;
}

__attribute__((destructor)) static void NoteEnd(void) {
  QVTEST_Note("unloaded");
}

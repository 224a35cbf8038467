#pragma once

// The objects that separately built modules share, as a module in plain C sees them: every member
// in its place and every virtual operation in its slot. The numbers behind each structure are its
// offsets and its size where pointers have 32 bits and where they have 64; whoever compiles this
// file, as C or as C++, has them checked. That the classes are laid out like the structures is what
// the tests in tests/abi find out.

#include <pthread.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define QV_HOLDS(condition) static_assert(condition, #condition)
extern "C" {
#else
#define QV_HOLDS(condition) extern const char qvHolds[(condition) ? 1 : -1]
#endif

#define QV_NUMBER(ilp32, lp64) (sizeof(void*) == 4 ? (ilp32) : (lp64))
#define QV_AT(layout, member, ilp32, lp64) \
  QV_HOLDS(offsetof(layout, member) == QV_NUMBER(ilp32, lp64))
#define QV_SIZE(layout, ilp32, lp64) QV_HOLDS(sizeof(layout) == QV_NUMBER(ilp32, lp64))
#define QV_SLOT(operations, operation, slot) \
  QV_HOLDS(offsetof(operations, operation) == (slot) * sizeof(void (*)(void)))
#define QV_SLOT_COUNT(operations) (sizeof(operations) / sizeof(void (*)(void)))
#define QV_SLOTS(operations, count) QV_HOLDS(QV_SLOT_COUNT(operations) == (count))

QV_HOLDS(sizeof(wchar_t) == 4);
QV_HOLDS(sizeof(bool) == 1);
QV_HOLDS(sizeof(int) == 4);

// Polymorphic objects begin with a pointer to a table of operations, each of which takes the object
// as its first argument.

/// The first two slots of a class with a virtual destructor: one ends the object and leaves its
/// memory, the other gives that back as well.
typedef struct Destructors {
  void (*destructor)(void* self);
  void (*deletingDestructor)(void* self);
} Destructors;
QV_SLOT(Destructors, destructor, 0);
QV_SLOT(Destructors, deletingDestructor, 1);
QV_SLOTS(Destructors, 2);

/// The description of a type: its mangled name, and its base, if any.
typedef struct TypeLayout {
  const void* operations;
  const char* name;
  const struct TypeLayout* base;
} TypeLayout;
QV_AT(TypeLayout, operations, 0, 0);
QV_AT(TypeLayout, name, 4, 8);
QV_AT(TypeLayout, base, 8, 16);
QV_SIZE(TypeLayout, 12, 24);

/// What stands in memory right before a table.
typedef struct TableHead {
  ptrdiff_t offsetToTop;
  const TypeLayout* type;
} TableHead;
QV_AT(TableHead, offsetToTop, 0, 0);
QV_AT(TableHead, type, 4, 8);
QV_SIZE(TableHead, 8, 16);

// Texts and vectors: begin, end and end of the storage, which comes from malloc. That of a text has
// room for a terminator behind it.

#define QV_RANGE(layout, type)       \
  typedef struct layout {            \
    type* begin;                     \
    type* end;                       \
    type* capacityEnd;               \
  } layout;                          \
  QV_AT(layout, begin, 0, 0);        \
  QV_AT(layout, end, 4, 8);          \
  QV_AT(layout, capacityEnd, 8, 16); \
  QV_SIZE(layout, 12, 24)

QV_RANGE(WideStringLayout, wchar_t);
/// Both of the forms made of char.
QV_RANGE(NarrowStringLayout, char);
QV_RANGE(Utf8StringLayout, unsigned char);
/// Of anything. Three null pointers while it is empty.
QV_RANGE(VectorLayout, void);

// Buffers

/// How long the mutex is, the system says.
typedef struct LockStateLayout {
  pthread_t owner;
  pthread_mutex_t mutex;
  int32_t lockCount;
} LockStateLayout;

typedef struct UnixCriticalSectionLayout {
  LockStateLayout* state;
} UnixCriticalSectionLayout;
QV_SIZE(UnixCriticalSectionLayout, 4, 8);

typedef struct CriticalSectionLayout {
  UnixCriticalSectionLayout* implementation;
} CriticalSectionLayout;
QV_SIZE(CriticalSectionLayout, 4, 8);

typedef struct AtomicIntLayout {
  int32_t value;
  CriticalSectionLayout section;
} AtomicIntLayout;
QV_AT(AtomicIntLayout, value, 0, 0);
QV_AT(AtomicIntLayout, section, 4, 8);
QV_SIZE(AtomicIntLayout, 8, 16);

typedef struct AutoBufferGutsLayout {
  AtomicIntLayout references;
  unsigned char* begin;
  uint32_t capacity;
  unsigned char* end;
} AutoBufferGutsLayout;
QV_AT(AutoBufferGutsLayout, references, 0, 0);
QV_AT(AutoBufferGutsLayout, begin, 8, 16);
QV_AT(AutoBufferGutsLayout, capacity, 12, 24);
QV_AT(AutoBufferGutsLayout, end, 16, 32);
QV_SIZE(AutoBufferGutsLayout, 20, 40);

typedef struct AutoBufferLayout {
  AutoBufferGutsLayout* guts;
} AutoBufferLayout;
QV_SIZE(AutoBufferLayout, 4, 8);

typedef struct BufferWrapperLayout {
  const unsigned char* data;
  uint32_t length;
} BufferWrapperLayout;
QV_AT(BufferWrapperLayout, data, 0, 0);
QV_AT(BufferWrapperLayout, length, 4, 8);
QV_SIZE(BufferWrapperLayout, 8, 16);

// Status

typedef struct StatusElementLayout {
  int32_t code;
  WideStringLayout* message;
} StatusElementLayout;
QV_AT(StatusElementLayout, code, 0, 0);
QV_AT(StatusElementLayout, message, 4, 8);
QV_SIZE(StatusElementLayout, 8, 16);

typedef struct StatusChainLayout {
  StatusElementLayout current;
  /// Of elements.
  VectorLayout* history;
} StatusChainLayout;
QV_AT(StatusChainLayout, current, 0, 0);
QV_AT(StatusChainLayout, history, 8, 16);
QV_SIZE(StatusChainLayout, 12, 24);

// Exceptions

typedef struct ExceptionOperations {
  Destructors destructors;
  const char* (*what)(const void* self);
  int32_t (*getErrorCode)(const void* self);
} ExceptionOperations;
QV_SLOT(ExceptionOperations, what, 2);
QV_SLOT(ExceptionOperations, getErrorCode, 3);
QV_SLOTS(ExceptionOperations, 4);

/// Those with a fixed text.
typedef struct ExceptionLayout {
  const ExceptionOperations* operations;
  uint32_t line;
  const char* file;
} ExceptionLayout;
QV_AT(ExceptionLayout, operations, 0, 0);
QV_AT(ExceptionLayout, line, 4, 8);
QV_AT(ExceptionLayout, file, 8, 16);
QV_SIZE(ExceptionLayout, 12, 24);

/// Those with a text of their own.
typedef struct TextExceptionLayout {
  ExceptionLayout base;
  NarrowStringLayout message;
} TextExceptionLayout;
QV_AT(TextExceptionLayout, message, 12, 24);
QV_SIZE(TextExceptionLayout, 24, 48);

typedef struct OSExceptionOperations {
  ExceptionOperations base;
  uint32_t (*whatcode)(const void* self);
} OSExceptionOperations;
QV_SLOT(OSExceptionOperations, whatcode, 4);
QV_SLOTS(OSExceptionOperations, 5);

/// Those with a code of the operating system. The table is one of OSExceptionOperations.
typedef struct OSExceptionLayout {
  TextExceptionLayout base;
  uint32_t code;
} OSExceptionLayout;
QV_AT(OSExceptionLayout, code, 24, 48);
QV_SIZE(OSExceptionLayout, 28, 56);

// Operating system

typedef struct BinaryFileLayout {
  int32_t descriptor;
} BinaryFileLayout;
QV_SIZE(BinaryFileLayout, 4, 4);

typedef struct ThreadIDLayout {
  pthread_t id;
} ThreadIDLayout;
QV_SIZE(ThreadIDLayout, 4, 8);

typedef struct BundleLayout {
  const Destructors* operations;
  void* bundle;
} BundleLayout;
QV_AT(BundleLayout, operations, 0, 0);
QV_AT(BundleLayout, bundle, 4, 8);
QV_SIZE(BundleLayout, 8, 16);

typedef struct SharedLibraryOperations {
  Destructors destructors;
  void (*unload)(void* self);
  void (*load)(void* self);
} SharedLibraryOperations;
QV_SLOT(SharedLibraryOperations, unload, 2);
QV_SLOT(SharedLibraryOperations, load, 3);
QV_SLOTS(SharedLibraryOperations, 4);

typedef struct SharedLibraryLayout {
  const SharedLibraryOperations* operations;
  WideStringLayout loadedPath;
  /// A BundleLayout where isBundle is set, else what dlopen gave.
  void* handle;
  bool unloadOnDestruction;
  bool reservedFlag;
  WideStringLayout requestedName;
  bool isBundle;
} SharedLibraryLayout;
QV_AT(SharedLibraryLayout, operations, 0, 0);
QV_AT(SharedLibraryLayout, loadedPath, 4, 8);
QV_AT(SharedLibraryLayout, handle, 16, 32);
QV_AT(SharedLibraryLayout, unloadOnDestruction, 20, 40);
QV_AT(SharedLibraryLayout, reservedFlag, 21, 41);
QV_AT(SharedLibraryLayout, requestedName, 24, 48);
QV_AT(SharedLibraryLayout, isBundle, 36, 72);
QV_SIZE(SharedLibraryLayout, 40, 80);

// Time

/// Fixed-point numbers of 128 bits, spans of time and points in time alike: 64 bits of fraction and
/// above them 64 bits of seconds, in words of which the least significant comes first.
typedef struct FixedPointLayout {
  uint32_t words[4];
} FixedPointLayout;
QV_SIZE(FixedPointLayout, 16, 16);

// Tracing

typedef struct LoggingBlockLayout {
  const Destructors* operations;
  int32_t used;
  int32_t enginesOwn;
  FixedPointLayout timeStamp;
  int32_t type;
  char payload[512];
  struct LoggingBlockFactoryLayout* factory;
} LoggingBlockLayout;
QV_AT(LoggingBlockLayout, operations, 0, 0);
QV_AT(LoggingBlockLayout, used, 4, 8);
QV_AT(LoggingBlockLayout, enginesOwn, 8, 12);
QV_AT(LoggingBlockLayout, timeStamp, 12, 16);
QV_AT(LoggingBlockLayout, type, 28, 32);
QV_AT(LoggingBlockLayout, payload, 32, 36);
QV_AT(LoggingBlockLayout, factory, 544, 552);
QV_SIZE(LoggingBlockLayout, 548, 560);

typedef struct LoggingBlockFactoryOperations {
  LoggingBlockLayout* (*giveOut)(void* self);
  void (*takeBack)(void* self, LoggingBlockLayout* block);
} LoggingBlockFactoryOperations;
QV_SLOT(LoggingBlockFactoryOperations, giveOut, 0);
QV_SLOT(LoggingBlockFactoryOperations, takeBack, 1);
QV_SLOTS(LoggingBlockFactoryOperations, 2);

typedef struct LoggingBlockFactoryLayout {
  const LoggingBlockFactoryOperations* operations;
} LoggingBlockFactoryLayout;
QV_SIZE(LoggingBlockFactoryLayout, 4, 8);

typedef struct RefCountedOperations {
  void (*addRef)(void* self);
  void (*release)(void* self);
} RefCountedOperations;
QV_SLOT(RefCountedOperations, addRef, 0);
QV_SLOT(RefCountedOperations, release, 1);
QV_SLOTS(RefCountedOperations, 2);

typedef struct RefCountedLayout {
  const RefCountedOperations* operations;
} RefCountedLayout;
QV_SIZE(RefCountedLayout, 4, 8);

typedef struct TraceEngineOperations {
  RefCountedOperations base;
  void (*sendBlock)(void* self, LoggingBlockLayout* block);
  LoggingBlockLayout* (*getFreeBlock)(void* self);
  bool (*showTagNames)(void* self);
  void (*getConfigDirectory)(void* self, WideStringLayout* directory);
  void (*noteDroppedRecord)(void* self);
} TraceEngineOperations;
QV_SLOT(TraceEngineOperations, sendBlock, 2);
QV_SLOT(TraceEngineOperations, getFreeBlock, 3);
QV_SLOT(TraceEngineOperations, showTagNames, 4);
QV_SLOT(TraceEngineOperations, getConfigDirectory, 5);
QV_SLOT(TraceEngineOperations, noteDroppedRecord, 6);
QV_SLOTS(TraceEngineOperations, 7);

typedef struct TraceEngineLayout {
  const TraceEngineOperations* operations;
} TraceEngineLayout;
QV_SIZE(TraceEngineLayout, 4, 8);

/// The entry point of an engine's library, exported as "GetInterface".
typedef RefCountedLayout* GetInterfaceFunction(unsigned long version, StatusChainLayout* status);

typedef struct TraceTagLayout {
  const Destructors* operations;
  char name[128];
  int id;
  bool enabled;
} TraceTagLayout;
QV_AT(TraceTagLayout, operations, 0, 0);
QV_AT(TraceTagLayout, name, 4, 8);
QV_AT(TraceTagLayout, id, 132, 136);
QV_AT(TraceTagLayout, enabled, 136, 140);
QV_SIZE(TraceTagLayout, 140, 144);

typedef struct TraceTagEELayout {
  const char* functionName;
  int tagId;
} TraceTagEELayout;
QV_AT(TraceTagEELayout, functionName, 0, 0);
QV_AT(TraceTagEELayout, tagId, 4, 8);
QV_SIZE(TraceTagEELayout, 8, 16);

/// A library and the interface that it gave.
typedef struct LibraryInterfaceLayout {
  SharedLibraryLayout library;
  TraceEngineLayout* interface;
} LibraryInterfaceLayout;
QV_AT(LibraryInterfaceLayout, library, 0, 0);
QV_AT(LibraryInterfaceLayout, interface, 40, 80);
QV_SIZE(LibraryInterfaceLayout, 44, 88);

typedef struct TraceLoggerLayout {
  const Destructors* operations;
  TraceTagLayout** tagTable;
  NarrowStringLayout moduleName;
  LibraryInterfaceLayout engine;
  bool showTagNames;
  bool initialized;
} TraceLoggerLayout;
QV_AT(TraceLoggerLayout, operations, 0, 0);
QV_AT(TraceLoggerLayout, tagTable, 4, 8);
QV_AT(TraceLoggerLayout, moduleName, 8, 16);
QV_AT(TraceLoggerLayout, engine, 20, 40);
QV_AT(TraceLoggerLayout, showTagNames, 64, 128);
QV_AT(TraceLoggerLayout, initialized, 65, 129);
QV_SIZE(TraceLoggerLayout, 68, 136);

#ifdef __cplusplus
}
#endif

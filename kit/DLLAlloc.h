#pragma once

namespace qv::kit {

// Memory that one module takes and another may give back: string storage, status messages and
// histories, vector storage. All blocks come from the C library's heap, sizes are in bytes, and any
// thread may call. A size of 0 behaves as the C library has it.

/// A block of size bytes, or null when memory is exhausted.
void* DLLMallocNoThrow(unsigned long size) noexcept;

/// A block of size bytes. Throws std::bad_alloc when memory is exhausted.
void* DLLMalloc(unsigned long size);

/// block moved to a size of size bytes; the first bytes keep their values. Null, with block
/// untouched, when memory is exhausted. A size of 0 frees a block and gives null.
void* DLLReallocNoThrow(void* block, unsigned long size) noexcept;

/// As DLLReallocNoThrow, but throws std::bad_alloc, with block untouched, when a size other than 0
/// cannot be had.
void* DLLRealloc(void* block, unsigned long size);

/// Gives block back; null is allowed.
void DLLFree(void* block) noexcept;

}  // namespace qv::kit

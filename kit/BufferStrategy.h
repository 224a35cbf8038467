#pragma once

namespace qv::kit {

/// What happens to the storage of a string that gets shorter.
enum class BufferStrategy {
  /// The storage stays as it is, ready for the next text.
  Keep,
  /// The storage shrinks to what is left; that of an emptied string to the slot of its terminator.
  Release,
};

}  // namespace qv::kit

#pragma once

#include <stdio.h>

#include <cstdint>

#include "kit/AutoBuffer.h"
#include "kit/BufferWrapper.h"
#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// Owner of a file descriptor, with exact reads and writes and with
/// length-prefixed blocks.
///
/// Lengths and positions are in bytes. The operations that give a number report
/// failure as -1 and leave the reason in errno: EBADF when no file is open,
/// EINVAL when a single read or write is asked for 2^31 bytes or more. One
/// thread at a time may use an object.
class BinaryFile {
 public:
  /// How to open a file; combined by "|".
  enum class Mode : std::uint32_t {
    /// For reading.
    Read = 1,
    /// For writing.
    Write = 2,
    /// For both.
    ReadWrite = 4,
    /// Empties a file that is there.
    Truncate = 8,
    /// Makes a file that is missing.
    Create = 16,
    /// With Create: fails with EEXIST where path is taken, be it by a symbolic link.
    Exclusive = 32,
  };

  /// What an offset counts from.
  enum class Origin : int { Start = SEEK_SET, Current = SEEK_CUR, End = SEEK_END };

  /// Order of the four bytes of a block's length. Every value but LittleEndian
  /// is big-endian.
  enum class Endianness : std::uint32_t { LittleEndian = 0, BigEndian = 1 };

  /// Owns no file yet.
  BinaryFile() = default;

  /// Opens path; a failure leaves the object closed when noThrow is set and is
  /// thrown as by open() otherwise.
  BinaryFile(const WString& path, Mode mode, bool noThrow);

  BinaryFile(const BinaryFile&) = delete;
  BinaryFile& operator=(const BinaryFile&) = delete;

  /// Closes the file.
  ~BinaryFile();

  /// Opens path. A file that is created gets permissions 0600. 0, or -1 with
  /// errno set: EINVAL when a file is open already, which stays so, or when
  /// path holds a null character.
  std::int32_t openNoThrow(const WString& path, Mode mode) noexcept;

  /// As openNoThrow, but throws PosixError on failure.
  void open(const WString& path, Mode mode);

  /// Closes the file, if one is open. 0, or -1 with errno set when the system
  /// could not keep all that was written; the object is closed either way.
  std::int32_t close() noexcept;

  /// @{
  /// One read or write of up to length bytes: how many were moved, 0 for a read
  /// at the end of the file. An interrupted call is not repeated: it fails with
  /// EINTR.
  std::int32_t read(void* buffer, std::uint32_t length);
  std::int32_t write(const void* buffer, std::uint32_t length);
  /// @}

  /// As the other read, with the bytes read as the new contents of buffer,
  /// which a failed read leaves empty. A request refused (no file, length)
  /// leaves buffer as it was. Throws std::bad_alloc.
  std::int32_t read(AutoBuffer& buffer, std::uint32_t length);

  /// Moves the position by offset from origin and gives the new one. -1 with
  /// EOVERFLOW, and the position where it was, when offset or the new position
  /// is outside 32 bits.
  std::int32_t seek(long offset, Origin origin);

  /// Waits until all that was written is on the disk. Does nothing when closed.
  /// Throws PosixError.
  void sync();

  /// Cuts the file to length, or fills it up with zeros. Does nothing when
  /// closed. Throws PosixError.
  void resize(std::uint32_t length);

  /// Reads exactly length bytes and gives length. Otherwise -1, the position is
  /// where it was, and errno is 0 when the file ended too early. Throws
  /// OutOfRange when length is 2^31 or more.
  std::int32_t readExactSize(void* buffer, std::uint32_t length);

  /// As the other readExactSize, with the bytes as the new contents of buffer,
  /// which a failed read leaves empty. Throws std::bad_alloc, with nothing
  /// read.
  std::int32_t readExactSize(AutoBuffer& buffer, std::uint32_t length);

  /// Writes all of length bytes and gives length, or -1, which may come after
  /// some were written. Throws OutOfRange when length is 2^31 or more.
  std::int32_t writeExactSize(const void* buffer, std::uint32_t length);

  /// Reads a block as writeByteVector writes it: its bytes are the new contents
  /// of buffer. Gives their number plus 4, or -1 with the position where it
  /// was: EOVERFLOW when the prefix promises more than the result can count,
  /// ENOMEM when the bytes find no memory.
  std::int32_t readByteVector(AutoBuffer& buffer, Endianness endianness);

  /// Writes the length of block in 4 bytes, then its bytes. Gives their number
  /// plus 4, or -1, which may come after some were written; with EOVERFLOW, and
  /// nothing written, when the result cannot count them.
  std::int32_t writeByteVector(const BufferWrapper& block, Endianness endianness);

 private:
  bool isReadyFor(std::uint32_t length) const noexcept;
  void moveBack(std::uint32_t count) noexcept;

  std::int32_t descriptor_ = -1;
};

/// Both modes in one.
constexpr BinaryFile::Mode operator|(BinaryFile::Mode a, BinaryFile::Mode b) {
  return static_cast<BinaryFile::Mode>(static_cast<std::uint32_t>(a) |
                                       static_cast<std::uint32_t>(b));
}

}  // namespace qv::kit::osdep

#include "kit/osdep/BinaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <new>

#include "kit/AddFileAndLineInfo.h"
#include "kit/NumericCast.h"
#include "kit/big_endian.h"
#include "kit/exception/Exception.h"
#include "kit/exception/PosixError.h"
#include "kit/little_endian.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"

namespace qv::kit::osdep {
namespace {

constexpr std::int32_t kLargestResult = std::numeric_limits<std::int32_t>::max();

using Prefix = std::array<unsigned char, 4>;

// Results of block operations count the prefix too.
constexpr std::uint32_t kLargestBlock = static_cast<std::uint32_t>(kLargestResult) - sizeof(Prefix);

struct ModeFlag {
  BinaryFile::Mode mode;
  int flag;
};

constexpr ModeFlag kModeFlags[] = {
    {BinaryFile::Mode::ReadWrite, O_RDWR}, {BinaryFile::Mode::Read, O_RDONLY},
    {BinaryFile::Mode::Write, O_WRONLY},   {BinaryFile::Mode::Truncate, O_TRUNC},
    {BinaryFile::Mode::Create, O_CREAT},   {BinaryFile::Mode::Exclusive, O_EXCL},
};

bool Includes(BinaryFile::Mode mode, BinaryFile::Mode bit) {
  return (static_cast<std::uint32_t>(mode) & static_cast<std::uint32_t>(bit)) != 0;
}

int OpenFlags(BinaryFile::Mode mode) {
  int flags = 0;
  for (const ModeFlag& row : kModeFlags) {
    if (Includes(mode, row.mode)) flags |= row.flag;
  }
  return flags;
}

/// Opens path and gives 0, or the errno of the failure.
int OpenDescriptor(const WString& path, BinaryFile::Mode mode, std::int32_t& descriptor) noexcept {
  try {
    const String name = ToSystemPath(path);
    const int flags = OpenFlags(mode);
    // The permissions are those of a file that is made, and mean nothing for any other.
    descriptor =
        RepeatWhileInterrupted([&] { return ::open(name.c_str(), flags, S_IRUSR | S_IWUSR); });
    return descriptor == -1 ? errno : 0;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  } catch (const exception::Exception&) {
    return EINVAL;
  }
}

/// Turns the prefix of a block from little-endian to endianness, or back.
Prefix Reordered(const Prefix& prefix, BinaryFile::Endianness endianness) {
  if (endianness == BinaryFile::Endianness::LittleEndian) return prefix;
  Prefix reversed;
  big_endian::CopyToBigEndian(prefix.size(), reversed.data(), prefix.data());
  return reversed;
}

Prefix PrefixOf(std::uint32_t length, BinaryFile::Endianness endianness) {
  Prefix prefix;
  unsigned char* cursor = prefix.data();
  little_endian::SerializeRaw<std::uint32_t>(length, cursor, cursor + prefix.size());
  return Reordered(prefix, endianness);
}

std::uint32_t LengthIn(const Prefix& prefix, BinaryFile::Endianness endianness) {
  const Prefix ordered = Reordered(prefix, endianness);
  const unsigned char* cursor = ordered.data();
  std::uint32_t length = 0;
  little_endian::DeserializeRaw<std::uint32_t>(length, cursor, cursor + ordered.size());
  return length;
}

/// Fails for a reason that no system call gave.
std::int32_t Refuse(int reason) {
  errno = reason;
  return -1;
}

/// Makes buffer hold length bytes, of whatever value.
void MakeLength(AutoBuffer& buffer, std::uint32_t length) {
  buffer.Erase();
  buffer.Skip(length);
}

/// Cuts buffer, which holds length bytes, to what a read of that many gave.
/// Leaves errno alone.
void CutToResult(AutoBuffer& buffer, std::uint32_t length, std::int32_t result) {
  const int error = errno;
  buffer.UnAppend(length - static_cast<std::uint32_t>(std::max(result, 0)));
  errno = error;
}

}  // namespace

static_assert(sizeof(BinaryFile) == sizeof(std::int32_t), "the descriptor is all there is");

BinaryFile::BinaryFile(const WString& path, Mode mode, bool noThrow) {
  if (noThrow) {
    openNoThrow(path, mode);
  } else {
    open(path, mode);
  }
}

BinaryFile::~BinaryFile() {
  close();
}

std::int32_t BinaryFile::openNoThrow(const WString& path, Mode mode) noexcept {
  const int error = descriptor_ == -1 ? OpenDescriptor(path, mode, descriptor_) : EINVAL;
  return error == 0 ? 0 : Refuse(error);
}

void BinaryFile::open(const WString& path, Mode mode) {
  if (openNoThrow(path, mode) == -1) QV_THROW(PosixError());
}

std::int32_t BinaryFile::close() noexcept {
  if (descriptor_ == -1) return 0;
  // The repetition is for systems on which an interrupted close leaves the file open. Where it does
  // not, as on Linux, the second close meets no file and changes nothing, provided that no other
  // thread has been given the same number in between.
  bool wasInterrupted = false;
  std::int32_t result = ::close(descriptor_);
  while (result == -1 && errno == EINTR) {
    wasInterrupted = true;
    result = ::close(descriptor_);
  }
  descriptor_ = -1;
  return wasInterrupted && errno == EBADF ? 0 : result;
}

std::int32_t BinaryFile::read(void* buffer, std::uint32_t length) {
  if (!isReadyFor(length)) return -1;
  return static_cast<std::int32_t>(::read(descriptor_, buffer, length));
}

std::int32_t BinaryFile::write(const void* buffer, std::uint32_t length) {
  if (!isReadyFor(length)) return -1;
  return static_cast<std::int32_t>(::write(descriptor_, buffer, length));
}

std::int32_t BinaryFile::read(AutoBuffer& buffer, std::uint32_t length) {
  if (!isReadyFor(length)) return -1;
  MakeLength(buffer, length);
  const std::int32_t result = read(buffer.Data(), length);
  CutToResult(buffer, length, result);
  return result;
}

std::int32_t BinaryFile::seek(long offset, Origin origin) {
  if (descriptor_ == -1) return Refuse(EBADF);
  if (offset != static_cast<std::int32_t>(offset)) return Refuse(EOVERFLOW);
  const off_t before = ::lseek(descriptor_, 0, SEEK_CUR);
  const off_t after = ::lseek(descriptor_, offset, static_cast<int>(origin));
  if (after > kLargestResult) {
    ::lseek(descriptor_, before, SEEK_SET);
    return Refuse(EOVERFLOW);
  }
  return static_cast<std::int32_t>(after);
}

void BinaryFile::sync() {
  if (descriptor_ == -1) return;
  if (RepeatWhileInterrupted([this] { return ::fsync(descriptor_); }) == -1) QV_THROW(PosixError());
}

void BinaryFile::resize(std::uint32_t length) {
  if (descriptor_ == -1) return;
  const auto cut = [this, length] { return ::ftruncate(descriptor_, off_t{length}); };
  if (RepeatWhileInterrupted(cut) == -1) QV_THROW(PosixError());
}

std::int32_t BinaryFile::readExactSize(void* buffer, std::uint32_t length) {
  if (descriptor_ == -1) return Refuse(EBADF);
  const std::int32_t success = _UnsignedToSigned<int, unsigned long>()(length);
  auto* const bytes = static_cast<unsigned char*>(buffer);
  for (std::uint32_t done = 0; done < length;) {
    const auto read = [&] {
      // Each time: the error of an interrupted call must not pass for the reason of an early end.
      errno = 0;
      return ::read(descriptor_, bytes + done, length - done);
    };
    const ssize_t result = RepeatWhileInterrupted(read);
    if (result <= 0) {
      moveBack(done);
      return -1;
    }
    done += static_cast<std::uint32_t>(result);
  }
  return success;
}

std::int32_t BinaryFile::readExactSize(AutoBuffer& buffer, std::uint32_t length) {
  if (descriptor_ == -1) return Refuse(EBADF);
  _UnsignedToSigned<int, unsigned long>()(length);
  MakeLength(buffer, length);
  const std::int32_t result = readExactSize(buffer.Data(), length);
  CutToResult(buffer, length, result);
  return result;
}

std::int32_t BinaryFile::writeExactSize(const void* buffer, std::uint32_t length) {
  if (descriptor_ == -1) return Refuse(EBADF);
  const std::int32_t success = _UnsignedToSigned<int, unsigned long>()(length);
  const auto* const bytes = static_cast<const unsigned char*>(buffer);
  for (std::uint32_t done = 0; done < length;) {
    const auto write = [&] { return ::write(descriptor_, bytes + done, length - done); };
    const ssize_t result = RepeatWhileInterrupted(write);
    if (result == -1) return -1;
    // A file that takes nothing and gives no reason would keep us here forever.
    if (result == 0) return Refuse(EIO);
    done += static_cast<std::uint32_t>(result);
  }
  return success;
}

std::int32_t BinaryFile::readByteVector(AutoBuffer& buffer, Endianness endianness) {
  Prefix prefix;
  if (readExactSize(prefix.data(), prefix.size()) == -1) return -1;
  const std::uint32_t length = LengthIn(prefix, endianness);
  std::int32_t result = -1;
  try {
    result = length > kLargestBlock ? Refuse(EOVERFLOW) : readExactSize(buffer, length);
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
  }
  if (result == -1) {
    moveBack(prefix.size());
    return -1;
  }
  return result + static_cast<std::int32_t>(prefix.size());
}

std::int32_t BinaryFile::writeByteVector(const BufferWrapper& block, Endianness endianness) {
  const std::uint32_t length = block.Len();
  if (length > kLargestBlock) return Refuse(EOVERFLOW);
  const Prefix prefix = PrefixOf(length, endianness);
  if (writeExactSize(prefix.data(), prefix.size()) == -1) return -1;
  if (writeExactSize(block.Data(), length) == -1) return -1;
  return static_cast<std::int32_t>(length + prefix.size());
}

/// Whether a single read or write of length bytes can be asked for; errno says
/// why not.
bool BinaryFile::isReadyFor(std::uint32_t length) const noexcept {
  if (descriptor_ != -1 && length <= static_cast<std::uint32_t>(kLargestResult)) return true;
  errno = descriptor_ == -1 ? EBADF : EINVAL;
  return false;
}

/// Takes back what has been read of a request that failed. Leaves errno alone.
void BinaryFile::moveBack(std::uint32_t count) noexcept {
  if (count == 0) return;
  const int error = errno;
  ::lseek(descriptor_, -off_t{count}, SEEK_CUR);
  errno = error;
}

}  // namespace qv::kit::osdep

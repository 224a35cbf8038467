#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/FileAlreadyExists.h"
#include "kit/exception/FileReadFailed.h"
#include "kit/exception/FileWriteFailed.h"
#include "kit/exception/NonexistentException.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/BinaryFile.h"
#include "kit/osdep/FileIdentity.h"
#include "kit/osdep/FindFiles.h"
#include "kit/osdep/RepeatWhileInterrupted.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep::path {
namespace {

constexpr std::uint32_t kChunkLength = 4096;

using Chunk = std::array<unsigned char, kChunkLength>;

bool AreEqualNames(const WString& a, const WString& b) {
  return IsFileSystemCaseSensitive() ? a.exactCompare(b) == 0 : a == b;
}

/// Whether both paths lead to one existing file, through links or, for a file
/// system that is mounted twice, through both mounts.
bool LeadToOneFile(const WString& a, const WString& b) {
  const auto identity = FileIdentity::Of(a);
  return identity && identity == FileIdentity::Of(b);
}

std::int32_t ReadChunk(BinaryFile& file, Chunk& chunk) {
  const std::int32_t length =
      RepeatWhileInterrupted([&] { return file.read(chunk.data(), kChunkLength); });
  if (length == -1) QV_THROW(exception::FileReadFailed());
  return length;
}

void WriteChunk(BinaryFile& file, const Chunk& chunk, std::int32_t length) {
  const auto count = static_cast<std::uint32_t>(length);
  if (RepeatWhileInterrupted([&] { return file.write(chunk.data(), count); }) != length) {
    QV_THROW(exception::FileWriteFailed());
  }
}

void RemoveFileIfPossible(const WString& path) {
  const String name = ToSystemPath(path);
  RepeatWhileInterrupted([&] { return ::unlink(name.c_str()); });
}

bool LeadsNowhere(const WString& path) {
  return IsSymLink(path) && !FileIdentity::Of(path);
}

/// Opens the file to write to and tells whether it has been created by this very call, and not by
/// anyone else. path becomes the file's own name when it is that of a link that led nowhere.
bool OpenDestination(BinaryFile& file, WString& path, bool overwrite) {
  using Mode = BinaryFile::Mode;
  while (file.openNoThrow(path, Mode::Write | Mode::Create | Mode::Exclusive) == -1) {
    if (errno != EEXIST) QV_THROW(PosixError());
    if (!LeadsNowhere(path)) {
      if (!overwrite && DoesFileExist(path)) QV_THROW(exception::FileAlreadyExists());
      file.open(path, Mode::Write | Mode::Truncate);
      return false;
    }
    path = Join(DirName(path), ResolveSymLink(path));
  }
  return true;
}

/// Whether a copy has to be on the disk, its name included, before it counts.
enum class Durability { None, Synced };

void SyncDirectory(const WString& path) {
  try {
    BinaryFile(path, BinaryFile::Mode::Read, false).sync();
  } catch (const PosixError& error) {
    // Some file systems write names in their own time, and say so.
    if (error.whatcode() != EINVAL) throw;
  }
}

void CopyContents(BinaryFile& source, const WString& to, bool overwrite, Durability durability) {
  // Read before to is touched: a source that cannot be read costs to nothing.
  Chunk chunk;
  std::int32_t length = ReadChunk(source, chunk);
  BinaryFile destination;
  WString file = to;
  const bool isNew = OpenDestination(destination, file, overwrite);
  try {
    for (; length > 0; length = ReadChunk(source, chunk))
      WriteChunk(destination, chunk, length);
    if (durability == Durability::Synced) destination.sync();
    if (destination.close() == -1) QV_THROW(exception::FileWriteFailed());
    if (durability == Durability::Synced) SyncDirectory(DirName(file));
  } catch (...) {
    if (isNew) RemoveFileIfPossible(file);
    throw;
  }
}

void CopyFile(const WString& from, const WString& to, bool overwrite, Durability durability) {
  BinaryFile source(from, BinaryFile::Mode::Read, false);
  CopyContents(source, to, overwrite, durability);
}

/// What a rename does between file systems.
void MoveByCopying(const WString& from, const WString& to) {
  if (!LeadToOneFile(from, to)) {
    CopyFile(from, to, true, Durability::Synced);
  } else if (!IsSymLink(from)) {
    // As rename itself does with two names of one file.
    return;
  }
  RemoveFile(from);
}

void CopyTree(const WString& from, const WString& to, std::vector<FileIdentity>& beingCopied);

void CopyEntry(const WString& entry, const WString& to, std::vector<FileIdentity>& beingCopied) {
  const WString name = BaseName(entry);
  if (name == L"." || name == L"..") return;
  WString target = Join(to, name);
  if (!IsDirectory(entry)) return CpFile(entry, target, true);
  MakePathEndInSlash(target);
  CopyTree(entry, target, beingCopied);
}

/// beingCopied are the directories on the way down to from.
void CopyTree(const WString& from, const WString& to, std::vector<FileIdentity>& beingCopied) {
  if (!IsDirectory(from)) QV_THROW(exception::NonexistentException());
  const auto identity = FileIdentity::Of(from);
  if (!identity) QV_THROW(exception::NonexistentException());
  if (std::find(beingCopied.begin(), beingCopied.end(), *identity) != beingCopied.end()) {
    errno = ELOOP;
    QV_THROW(PosixError());
  }
  beingCopied.push_back(*identity);
  // Listed before to is there: a copy into a directory of its own must not find
  // itself.
  const Vector<WString> entries = FindFiles::getEntries(from);
  if (!IsDirectory(to)) CreateDir(to);
  for (const WString& entry : entries)
    CopyEntry(entry, to, beingCopied);
  beingCopied.pop_back();
}

}  // namespace

void RenameFile(const WString& from, const WString& to) {
  RequireAbsolute(from);
  RequireAbsolute(to);
  if (AreEqualNames(from, to)) return;

  const String narrowFrom = ToSystemPath(from);
  const String narrowTo = ToSystemPath(to);
  const auto rename = [&] { return std::rename(narrowFrom.c_str(), narrowTo.c_str()); };
  if (RepeatWhileInterrupted(rename) == 0) return;
  if (errno != EXDEV) QV_THROW(PosixError());
  MoveByCopying(from, to);
}

void CpFile(const WString& from, const WString& to, bool overwrite) {
  RequireAbsolute(from);
  RequireAbsolute(to);
  if (!overwrite && DoesFileExist(to)) QV_THROW(exception::FileAlreadyExists());
  if (AreEqualNames(from, to) || LeadToOneFile(from, to)) return;
  CopyFile(from, to, overwrite, Durability::None);
}

void CpDir(const WString& from, const WString& to) {
  RequireAbsolute(from);
  RequireAbsolute(to);
  std::vector<FileIdentity> beingCopied;
  CopyTree(from, to, beingCopied);
}

}  // namespace qv::kit::osdep::path

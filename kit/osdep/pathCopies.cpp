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

void CopyContents(BinaryFile& source, const WString& to) {
  // Read before to is touched: a source that cannot be read costs to nothing.
  Chunk chunk;
  std::int32_t length = ReadChunk(source, chunk);
  BinaryFile destination(
      to, BinaryFile::Mode::Write | BinaryFile::Mode::Create | BinaryFile::Mode::Truncate, false);
  for (; length > 0; length = ReadChunk(source, chunk))
    WriteChunk(destination, chunk, length);
}

void RemoveFileIfPossible(const WString& path) {
  const String name = ToSystemPath(path);
  RepeatWhileInterrupted([&] { return ::unlink(name.c_str()); });
}

/// What a rename does between file systems.
void MoveByCopying(const WString& from, const WString& to) {
  if (LeadToOneFile(from, to)) return;
  CpFile(from, to, true);
  // The copy must have reached the disk before the original goes.
  BinaryFile(to, BinaryFile::Mode::Write, false).sync();
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
  const auto identity = FileIdentity::Of(from);
  if (!identity || !IsDirectory(from)) QV_THROW(exception::NonexistentException());
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

  BinaryFile source(from, BinaryFile::Mode::Read, false);
  const bool isNew = !FileIdentity::Of(to) && !IsSymLink(to);
  try {
    CopyContents(source, to);
  } catch (...) {
    if (isNew) RemoveFileIfPossible(to);
    throw;
  }
}

void CpDir(const WString& from, const WString& to) {
  RequireAbsolute(from);
  RequireAbsolute(to);
  std::vector<FileIdentity> beingCopied;
  CopyTree(from, to, beingCopied);
}

}  // namespace qv::kit::osdep::path

#include "qvini/lineFiles.h"

#include <string.h>
#include <unistd.h>

#include "qvini/interrupted.h"
#include "qvini/qvini.h"

enum { kNoByte = -1 };

void qvini_InitFileSource(qvini_FileSource* source, int descriptor) {
  source->descriptor = descriptor;
  source->length = 0;
  source->position = 0;
  source->ended = 0;
  source->failed = 0;
  source->partner = kNoByte;
}

// Reads what there is, up to a full block.
static void ReadMore(qvini_FileSource* source) {
  ssize_t count = 0;
  do {
    count = read(source->descriptor, source->block + source->length,
                 sizeof(source->block) - source->length);
  } while (qvini_WasInterrupted(count));
  if (count > 0) {
    source->length += (size_t)count;
    return;
  }
  source->ended = 1;
  source->failed = count < 0;
}

static int BeginsWith(const qvini_FileSource* source, const char* mark, size_t length) {
  return source->length >= length && memcmp(source->block, mark, length) == 0;
}

int qvini_CheckEncoding(qvini_FileSource* source) {
  // A pipe may give its first bytes one by one.
  while (source->length < 4 && !source->ended)
    ReadMore(source);
  // The mark of UTF-32 with the low byte first begins with that of UTF-16.
  if (BeginsWith(source, "\xff\xfe", 2) || BeginsWith(source, "\xfe\xff", 2) ||
      BeginsWith(source, "\0\0\xfe\xff", 4))
    return kIniUnknownEncoding;
  if (BeginsWith(source, "\xef\xbb\xbf", 3)) source->position = 3;
  return kIniDone;
}

// The next byte, which stays the next one; kNoByte where there is none.
static int NextByte(qvini_FileSource* source) {
  if (source->position == source->length) {
    if (source->ended) return kNoByte;
    source->length = 0;
    source->position = 0;
    ReadMore(source);
    if (source->length == 0) return kNoByte;
  }
  return (unsigned char)source->block[source->position];
}

static int IsLineEnd(int byte) {
  return byte == '\n' || byte == '\r' || byte == '\0';
}

static int PartnerOf(int byte) {
  if (byte == '\n') return '\r';
  return byte == '\r' ? '\n' : kNoByte;
}

// The byte that makes a pair of the last line end belongs to no line.
static void SkipPartner(qvini_FileSource* source) {
  if (source->partner == kNoByte) return;
  if (NextByte(source) == source->partner) ++source->position;
  source->partner = kNoByte;
}

// How many of these bytes stand before a line end. The C library looks at many at a time, so that
// three searches take less than one look at each byte.
static size_t LengthOfLine(const char* bytes, size_t length) {
  static const char kLineEnds[] = {'\n', '\r', '\0'};
  for (size_t i = 0; i < sizeof(kLineEnds); ++i) {
    const char* const end = memchr(bytes, kLineEnds[i], length);
    if (end != NULL) length = (size_t)(end - bytes);
  }
  return length;
}

// Takes what the block has of a line, up to room bytes, and gives their number.
static size_t TakeBytes(qvini_FileSource* source, char* to, size_t room) {
  const char* const bytes = source->block + source->position;
  const size_t left = source->length - source->position;
  const size_t count = LengthOfLine(bytes, left < room ? left : room);
  memcpy(to, bytes, count);
  source->position += count;
  return count;
}

int IniLineFileInputFunction(void* source, char* buffer, size_t size) {
  qvini_FileSource* const file = source;
  SkipPartner(file);
  size_t length = 0;
  int byte = NextByte(file);
  while (byte != kNoByte && !IsLineEnd(byte) && length < size - 1) {
    length += TakeBytes(file, buffer + length, size - 1 - length);
    byte = NextByte(file);
  }
  buffer[length] = '\0';
  if (byte == kNoByte) {
    if (file->failed) return kIniReadFailed;
    return length > 0 ? kIniInputLine : kIniInputEnd;
  }
  if (!IsLineEnd(byte)) return kIniInputPart;
  ++file->position;
  file->partner = PartnerOf(byte);
  return kIniInputLine;
}

void qvini_InitFileSink(qvini_FileSink* sink, int descriptor) {
  sink->descriptor = descriptor;
  sink->length = 0;
}

int qvini_Flush(qvini_FileSink* sink) {
  size_t done = 0;
  while (done < sink->length) {
    const ssize_t count = write(sink->descriptor, sink->block + done, sink->length - done);
    if (qvini_WasInterrupted(count)) continue;
    // A system that takes nothing and gives no reason would keep us here for ever.
    if (count <= 0) return kIniFlushFailed;
    done += (size_t)count;
  }
  sink->length = 0;
  return kIniDone;
}

int qvini_PutBytes(qvini_FileSink* sink, const char* bytes, size_t length) {
  while (length > 0) {
    if (sink->length == sizeof(sink->block)) {
      const int result = qvini_Flush(sink);
      if (result != kIniDone) return result;
    }
    const size_t room = sizeof(sink->block) - sink->length;
    const size_t count = length < room ? length : room;
    memcpy(sink->block + sink->length, bytes, count);
    sink->length += count;
    bytes += count;
    length -= count;
  }
  return kIniDone;
}

int IniLineFileOutputFunction(void* sink, const char* line) {
  const int result = qvini_PutBytes(sink, line, strlen(line));
  return result == kIniDone ? qvini_PutBytes(sink, "\n", 1) : result;
}

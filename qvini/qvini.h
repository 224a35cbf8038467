/// @file
/// INI documents: sections of keys and values in the order of their file, held in memory, read from
/// and written to text files.
///
/// Plain C99, usable from C++. Memory is the C heap and belongs to the library: whatever pointer a
/// function gives stays the document's.
///
/// A document belongs to one thread at a time, for look-ups change it too (caches, line numbers);
/// different documents may be used at the same time. There is no state outside documents. Neither
/// the locale nor the umask changes what is read or written; letters are those of ASCII, white
/// space is the blank, TAB, LF, VT, FF and CR.
///
/// Null arguments are refused everywhere, never followed: without a document puts, reads and writes
/// give kIniBadPath, gets and questions 0; a null section or key is an empty one; a null value is
/// an empty value. A null pointer for a result means that the result alone is wanted.
///
/// Looking up a name costs the same however many sections and keys there are.
#pragma once

#include <stddef.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Results. Puts and gets give 1, 0 or a failure, reads and writes 0 or a failure.
enum {
  /// The put succeeded, the item was found.
  kIniFound = 1,
  /// No such item or section, or its value is blank; from a put: a list could not grow.
  kIniMissing = 0,
  /// The read or write succeeded.
  kIniDone = 0,
  /// An entry cannot be wrapped within maxLineLength.
  kIniCannotWrap = -2,
  /// The file begins with a byte order mark of UTF-16 or UTF-32.
  kIniUnknownEncoding = -3,
  /// A put with an empty section name or key.
  kIniEmptyName = -6,
  /// No memory.
  kIniOutOfMemory = -12,
  /// The target cannot be written, or the finished file could not be renamed to it.
  kIniNotWritable = -13,
  /// A null or empty path, or another argument that must not be null.
  kIniBadPath = -22,
  /// What was written could not be stored: the disk is full, for one.
  kIniFlushFailed = -28,
  /// The file is missing, or may not be read.
  kIniOpenForReadingFailed = -5001,
  /// Reading broke off.
  kIniReadFailed = -5002,
  /// The temporary file could not be created, or not with the permissions that it needs.
  kIniTemporaryFileFailed = -5003,
  /// The file to be written, or the temporary one, cannot be opened.
  kIniOpenForWritingFailed = -5004,
  /// The value is not of the type that the get is for.
  kIniNotAnInt = -5021,
  /// The same.
  kIniNotAnUnsigned = -5022,
  /// The same.
  kIniNotADouble = -5023,
  /// The same.
  kIniNotABoolean = -5024,
};

/// Bits of readFlags.
enum {
  /// Entries may have an empty value; such a line is a bad line otherwise.
  kIniReadEmptyValues = 1,
  /// A value in double quotes loses them, and gets them back when it is written.
  kIniReadDoubleQuotes = 2,
  /// The same for single quotes.
  kIniReadSingleQuotes = 4,
  /// ":" and ":=" separate key and value as "=" does, and entries before the first section are kept
  /// in a section named "(null)"; they are dropped otherwise.
  kIniReadColons = 8,
};

/// Bits of writeFlags.
enum {
  /// The file begins with the byte order mark of UTF-8.
  kIniWriteByteOrderMark = 1,
  /// The file is written under another name and renamed when it is complete.
  kIniWriteSafely = 2,
  /// That other name is a unique one; it is the target's with the extension TMP otherwise.
  kIniWriteUniqueName = 4,
  /// " = " instead of "=" between key and value.
  kIniWriteBlanksAroundEquals = 8,
  /// No empty line after sections that were read from a file nor after "(null)", but one between
  /// such a section and one that was put.
  kIniWriteFewEmptyLines = 16,
};

/// As maxLineLength: entries are never wrapped.
#define kIniNoLineLimit (~0u)

/// A line number that there is none of.
#define kIniNoLine (-1)

/// Quotes that a value can be written in.
enum {
  /// None.
  kIniUnquoted = 0,
  /// "
  kIniDoubleQuote = 34,
  /// '
  kIniSingleQuote = 39,
};

/// A buffer for one string, at least 256 bytes long.
typedef struct IniStringCache {
  /// Memory of the C heap.
  char* bytes;
  /// How many bytes there is room for.
  size_t size;
} IniStringCache;

/// A document. Callers set and read the plain fields as they like, at any time; lists, caches and
/// the path are the library's to change.
typedef struct IniDocument {
  /// Sections, in the order of the file or of their creation.
  struct qvini_List* sections;
  /// The section that was last found by its name; null before. Look-ups begin here, so of several
  /// sections that match it is the one found before, and the first of the document otherwise.
  struct qvini_Section* lastSection;
  /// Given to each new section. No meaning here. 0.
  int sectionFlags;
  /// 1: reading or putting a key that exists replaces its value, reading a header that exists goes
  /// on with its section. 0: duplicates are added, and the first one is what look-ups find; a put
  /// still goes into the section that exists. 1 by default.
  int mergeDuplicates;
  /// 0: names that differ in the case of ASCII letters or in white space around them are the same.
  /// 1: every byte counts. Stored names have no white space around them, so nothing finds a name
  /// given with some then. 0 by default.
  int caseSensitive;
  /// Line of the entry that IniGet or a typed get last found, -1 when that entry was put. A get
  /// that finds nothing leaves it, and so does reading. -1 by default.
  int lastLine;
  /// What the string getters returned last.
  IniStringCache stringCache;
  /// Longest line that is written for an entry, in bytes without the line end. 80 by default.
  unsigned maxLineLength;
  /// When not 0, long values are cut only after this character. 0 by default.
  char wrapBreakChar;
  /// kIniWriteSafely, kIniWriteUniqueName and kIniWriteBlanksAroundEquals by default.
  unsigned writeFlags;
  /// kIniReadDoubleQuotes by default.
  unsigned readFlags;
  /// First line that the last read could make nothing of, counted from 1; -1 when there is none.
  int firstBadLine;
  /// The file last read or written, as it was named by the caller; never null, empty at first.
  char* path;
  /// When that file was last modified, as of then; 0 at first. The library is built for times of 64
  /// bits on 32-bit systems too, where programs that look at this field need _TIME_BITS=64
  /// and _FILE_OFFSET_BITS=64.
  time_t modificationTime;
} IniDocument;

/// A new, empty document, or null when there is no memory or when reserved is not 0. The caller
/// gives it to IniDispose.
IniDocument* IniNew(int reserved);

/// Frees a document and all that its functions gave pointers to. Null is allowed.
void IniDispose(IniDocument* document);

/// What an IniLineInputFunction gives.
enum {
  /// There are no more lines.
  kIniInputEnd = 0,
  /// The buffer holds a line, or the rest of one.
  kIniInputLine = 1,
  /// The buffer is full and the line goes on.
  kIniInputPart = 2,
};

/// Gives the next line of source, without its line end: puts its bytes and a NUL into buffer, which
/// has room for size bytes, at least 2. A line that does not fit comes in parts: the function fills
/// all but the last byte of buffer, ends it with NUL, gives kIniInputPart, and goes on with the
/// same line at the next call; a part may also turn out to have been all of the line, the next one
/// is empty then, or the input at its end. Gives one of the constants above, or a negative code,
/// which ends the reading.
typedef int (*IniLineInputFunction)(void* source, char* buffer, size_t size);

/// Takes a line, without a line end, for sink. Gives a negative code to end the writing, anything
/// else to go on.
typedef int (*IniLineOutputFunction)(void* sink, const char* line);

/// Empties the document and fills it with the lines of source. Lines that are neither section,
/// entry, comment (";") nor blank are skipped; the first of them is kept in firstBadLine. 0, or the
/// negative code of input, or kIniOutOfMemory: then the document is empty, so that no half of a
/// file passes for all of it. A call without document or input changes nothing (kIniBadPath).
///
/// Lines after number 2147483647 all have that number.
int IniRead(IniDocument* document, IniLineInputFunction input, void* source);

/// Gives the lines of the document to output, one after another. Stops at the first failure and
/// gives it: the negative code of output, kIniCannotWrap or kIniOutOfMemory.
///
/// An entry longer than maxLineLength goes into lines named after it with " Line0001", " Line0002"
/// and so on; reading joins them again. From the ten thousandth on the numbers, and with them the
/// lines, are one longer, so that a line may exceed maxLineLength by what the number exceeds four
/// digits.
int IniWrite(IniDocument* document, IniLineOutputFunction output, void* sink);

/// Reads a file into the document, and remembers path and modification time. A line ends at LF, CR,
/// CR LF, LF CR or NUL. 0 or:
/// kIniBadPath, kIniOpenForReadingFailed, kIniUnknownEncoding: the document is as it was;
/// kIniReadFailed: the document is empty;
/// kIniOutOfMemory: it is empty, or as it was where there was no memory for the path.
/// Path and time are as they were in each of these cases.
int IniReadFromFile(IniDocument* document, const char* path);

/// Writes the document into a file, and remembers path and modification time. The document itself
/// never changes otherwise.
///
/// With kIniWriteSafely the file at path holds its old or its new content, complete, whatever
/// happens to the writer: the new content is on the disk before it gets the name. Several writers
/// at once need kIniWriteUniqueName. The file must be a regular one, or missing; where path is a
/// symbolic link, the file it leads to is replaced and the link stays. It keeps its permissions but
/// not its owner, group, access list or other hard links; a new one gets 0644 from
/// kIniWriteUniqueName and what the umask allows otherwise. While a missing file is probed an empty
/// one may be seen. The temporary file lies in the same directory: "ini$$.TMP" with six more
/// characters, or the name with the extension TMP, whatever had that name before; it is gone after
/// every failure.
///
/// Without kIniWriteSafely the file is overwritten where it is, so what a failure leaves of it is
/// undefined.
///
/// 0 or kIniBadPath, kIniNotWritable, kIniTemporaryFileFailed, kIniOpenForWritingFailed,
/// kIniFlushFailed, kIniCannotWrap, kIniOutOfMemory.
int IniWriteToFile(IniDocument* document, const char* path);

/// Sets the value of a key, and the quotes that it is written in: kIniDoubleQuote, kIniSingleQuote,
/// or kIniUnquoted for none; any other character is written around the value too, and read back as
/// a part of it. Names and value are copied without the white space around them. A section that is
/// missing is added after the others, a key that is missing after the other keys of its section. A
/// key that exists, with mergeDuplicates, keeps its spelling and its line.
///
/// 1; kIniEmptyName when section or key is blank; kIniOutOfMemory, or 0 when a list could not grow:
/// the document is as it was then.
///
/// Anything else is stored as it is. Files cannot give all of it back: in a written file a line end
/// or NUL in a name or a value ends its line, "]" a section's name, "=" a key; a key that begins
/// with ";" or "[" makes a comment or a header; without quotes, an empty value makes a bad line,
/// and a value that itself stands in quotes loses them. docs/ini-format.md lists every such loss.
/// IniPutString keeps every value but for white space around it.
int IniPut(IniDocument* document, const char* section, const char* key, const char* value,
           char quote);

/// Finds an item: 1 and its value as it is stored, or 0. The value stays where it is until the key
/// is put again, or the document is read anew or disposed of.
int IniGet(IniDocument* document, const char* section, const char* key, const char** value);

/// Whether there is such an item: 1 or 0. Leaves lastLine.
int IniItemExists(IniDocument* document, const char* section, const char* key);

/// How many entries a section has; 0 for one that is missing.
int IniNumberOfItems(IniDocument* document, const char* section);

/// Finds the key of the nth entry of a section, counted from 1: 1, or 0 when there is none. The
/// name stays where it is until the document is read anew or disposed of.
int IniNthItemName(IniDocument* document, const char* section, int n, const char** name);

/// @{
/// Typed puts: IniPut of the value as text. A boolean is "True" or "False", a double has 15 digits
/// ("%.14e", with a point whatever the locale). Results are those of IniPut.
int IniPutInt(IniDocument* document, const char* section, const char* key, int value);
int IniPutUInt(IniDocument* document, const char* section, const char* key, unsigned value);
int IniPutDouble(IniDocument* document, const char* section, const char* key, double value);
int IniPutBoolean(IniDocument* document, const char* section, const char* key, int value);
/// @}

/// Puts a string, in double quotes when quoted is not 0; when escaped is not 0, TAB, LF, quotes,
/// backslashes and control characters become escapes, which IniGetPointerToString undoes.
int IniPutStringWithOptions(IniDocument* document, const char* section, const char* key,
                            const char* value, int quoted, int escaped);

/// The same, quoted and escaped.
int IniPutString(IniDocument* document, const char* section, const char* key, const char* value);

/// The same, quoted and not escaped.
int IniPutRawString(IniDocument* document, const char* section, const char* key, const char* value);

// Typed gets: 1 and the value; 0 when the item is missing or its value is blank; a failure when the
// value is not of the type, or for want of memory. The variable changes with 1 only.

/// Decimal, -2147483648 to 2147483647; kIniNotAnInt.
int IniGetInt(IniDocument* document, const char* section, const char* key, int* value);

/// Decimal, 0 to 4294967295, without a minus sign; kIniNotAnUnsigned.
int IniGetUInt(IniDocument* document, const char* section, const char* key, unsigned* value);

/// What strtod takes whole in the C locale and without a range error; kIniNotADouble.
int IniGetDouble(IniDocument* document, const char* section, const char* key, double* value);

/// "True" gives 1, "False" 0, in any case; kIniNotABoolean.
int IniGetBoolean(IniDocument* document, const char* section, const char* key, int* value);

/// The value as it is stored, copied into the document's string cache: there it stays until the
/// next string getter. kIniOutOfMemory.
int IniGetPointerToRawString(IniDocument* document, const char* section, const char* key,
                             const char** value);

/// The value with its escapes undone, in the string cache as well. An escaped NUL ("\x00") ends the
/// string for most readers. kIniOutOfMemory.
int IniGetPointerToString(IniDocument* document, const char* section, const char* key,
                          const char** value);

/// Makes the cache at least size bytes long, and at least 256. One that is up to 1024 bytes longer
/// than size stays as it is; any other size becomes exactly the one wanted. Its contents are
/// undefined afterwards. 0; kIniOutOfMemory, and the cache is as it was; kIniBadPath for null.
int SetStringCacheSize(IniStringCache* cache, size_t size);

#ifdef __cplusplus
}
#endif

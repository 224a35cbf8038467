/// Sections and entries.
#pragma once

#include "qvini/lists.h"
#include "qvini/qvini.h"
#include "qvini/toolbox.h"

#ifdef __cplusplus
extern "C" {
#endif

/// The section for entries that stand before the first header; written without one.
extern const char kNullSectionName[];

/// One block of memory holds an entry, its name and its first value, which spares most of the time
/// and the memory that three would take.
typedef struct qvini_Entry {
  char* name;
  char* value;
  /// In the file; kIniNoLine for an entry that was put.
  int line;
  /// The character that the value is written between, or 0.
  char quote;
  /// Whether the value has come later and has a block of its own.
  char ownsValue;
} qvini_Entry;

typedef struct qvini_Section {
  char* name;
  /// Of qvini_Entry.
  qvini_List entries;
  int flags;
  /// Whether an entry begins a run of pieces, see qvini_JoinLongValues.
  int hasPieces;
  /// Of the header in the file; kIniNoLine for a section that was put.
  int line;
} qvini_Section;

/// An entry with copies of name and value, or null when there is no memory.
qvini_Entry* qvini_NewEntry(qvini_Range name, qvini_Range value, char quote, int line);

/// Takes the quotes that readFlags speak of off a trimmed value, and gives the one taken, or
/// kIniUnquoted.
char qvini_TakeQuotes(unsigned readFlags, qvini_Range* value);

/// An entry as read from a file, of trimmed name and value: the quotes that readFlags speak of are
/// taken off the value and remembered. Null when there is no memory.
qvini_Entry* IniNewEntryHandleQuotes(unsigned readFlags, qvini_Range name, qvini_Range value,
                                     int line);

/// Frees an entry. Null is allowed.
void qvini_DisposeEntry(qvini_Entry* entry);

/// Gives an entry a copy of another value: 1, or 0 when there is no memory, and it is as it was.
int qvini_SetValue(qvini_Entry* entry, qvini_Range value, char quote);

/// A section without entries, with a trimmed copy of name and the document's flags for new
/// sections, which is not yet in the document; null when there is no memory.
qvini_Section* qvini_NewSection(const IniDocument* document, const char* name, int line);

/// Frees a section and its entries. Null is allowed.
void qvini_DisposeSection(qvini_Section* section);

/// Takes all sections out of the document and frees them; forgets the last section and the first
/// bad line.
void qvini_Empty(IniDocument* document);

/// What a caller's name means to the two functions below.
qvini_Range qvini_WantedName(const IniDocument* document, const char* name);

/// The section that look-ups of this name find, which becomes the last one found; null when there
/// is none.
qvini_Section* qvini_FindSection(IniDocument* document, qvini_Range name);

/// The first entry of this name in the section, compared as the document says, or null.
qvini_Entry* qvini_FindEntry(const IniDocument* document, qvini_Section* section, qvini_Range name);

#ifdef __cplusplus
}
#endif

/// Sections and entries.
#pragma once

#include "qvini/lists.h"
#include "qvini/qvini.h"

#ifdef __cplusplus
extern "C" {
#endif

/// The section for entries that stand before the first header; written without one.
extern const char kNullSectionName[];

typedef struct qvini_Entry {
  char* name;
  char* value;
  /// In the file; kIniNoLine for an entry that was put.
  int line;
  /// The character that the value is written between, or 0.
  char quote;
} qvini_Entry;

typedef struct qvini_Section {
  char* name;
  /// Of qvini_Entry.
  qvini_List entries;
  int flags;
  /// Of the header in the file; kIniNoLine for a section that was put.
  int line;
} qvini_Section;

/// An entry with trimmed copies of name and value, or null when there is no memory.
qvini_Entry* qvini_NewEntry(const char* name, const char* value, char quote, int line);

/// An entry as read from a file: the quotes that readFlags speak of are taken off the trimmed value
/// and remembered. Null when there is no memory.
qvini_Entry* IniNewEntryHandleQuotes(unsigned readFlags, const char* name, const char* value,
                                     int line);

/// Frees an entry. Null is allowed.
void qvini_DisposeEntry(qvini_Entry* entry);

/// Gives entry the value and the quote of other, which is freed.
void qvini_TakeValue(qvini_Entry* entry, qvini_Entry* other);

/// A section without entries, with a trimmed copy of name and the document's flags for new
/// sections, which is not yet in the document; null when there is no memory.
qvini_Section* qvini_NewSection(const IniDocument* document, const char* name, int line);

/// Frees a section and its entries. Null is allowed.
void qvini_DisposeSection(qvini_Section* section);

/// Takes all sections out of the document and frees them; forgets the last section and the first
/// bad line.
void qvini_Empty(IniDocument* document);

/// The section that look-ups of this name find, which becomes the last one found; null when there
/// is none.
qvini_Section* qvini_FindSection(IniDocument* document, const char* name);

/// The first entry of this name in the section, compared as the document says, or null.
qvini_Entry* qvini_FindEntry(const IniDocument* document, qvini_Section* section, const char* name);

#ifdef __cplusplus
}
#endif

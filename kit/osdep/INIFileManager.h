#pragma once

#include <memory>
#include <type_traits>

#include "kit/StringBase.h"
#include "kit/Vector.h"
#include "qvini/qvini.h"

namespace qv::kit::osdep {

/// An INI document in memory and the file it belongs to: read when the object is made, changed item
/// by item, written when writeFile() is called and at no other time. qvini/qvini.h tells what files
/// look like and how names are compared.
///
/// An empty section name stands for the section "Kestrix Works", an empty key for the key
/// "Default".
///
/// Whatever fails in the document or its file gives false, and a variable to be read into stays as
/// it is; a write that fails changes nothing. Text is bytes that end at a zero: a path, name or
/// value with a zero character in it is refused, never cut. Only what needs strings and vectors of
/// ours throws: std::bad_alloc. A manager belongs to one thread at a time.
class INIFileManager {
 public:
  /// path is used as it is, relative to the current directory of the moment. section is kept for
  /// callers that read an item of their own. A file that is missing or cannot be read leaves an
  /// empty document, and isLoaded() false.
  INIFileManager(const String& path, const String& section);
  INIFileManager(const INIFileManager&) = delete;
  INIFileManager& operator=(const INIFileManager&) = delete;
  /// Writes nothing.
  ~INIFileManager() = default;

  /// @{
  /// What the object was made with.
  const String& section() const noexcept { return section_; }
  const String& path() const noexcept { return path_; }
  /// @}
  /// Whether the document came from the file or has been written to it.
  bool isLoaded() const noexcept { return loaded_; }

  /// Forgets the document and reads the file anew. False leaves an empty document.
  bool reloadFile();

  /// Replaces the file as IniWriteToFile does, so that it is complete at any time.
  bool writeFile();

  /// Whether the section is there and has the key, with whatever value.
  bool keyPresent(const String& section, const String& key);

  /// @{
  /// Puts a value into the document, replacing the one that the key had. Control characters, quotes
  /// and backslashes come back as they were, blanks around the value do not.
  bool write(const String& section, const String& key, const String& value);
  bool write(const String& section, const String& key, const char* value);
  /// @}
  /// As "True" or "False". Takes nothing but a bool: many types, pointers among them, would turn
  /// into one.
  template <typename T, std::enable_if_t<std::is_same_v<T, bool>, int> = 0>
  bool write(const String& section, const String& key, T value) {
    return writeBoolean(section, key, value);
  }
  /// @{
  /// Decimal. A long of more than 32 bits is refused.
  bool write(const String& section, const String& key, long value);
  bool write(const String& section, const String& key, int value);
  bool write(const String& section, const String& key, unsigned long value);
  bool write(const String& section, const String& key, unsigned value);
  /// @}
  /// With 15 digits.
  bool write(const String& section, const String& key, double value);
  /// Wide text is not converted unasked.
  template <typename T>
  bool write(const String& section, const String& key, const T* value) = delete;

  /// Puts a value without escapes: a line end in it ends it when the file is read again.
  bool writeRaw(const String& section, const String& key, const String& value);

  /// @{
  /// Reads an item. False when it is missing or blank, or when its value is not of the variable's
  /// type.
  bool read(const String& section, const String& key, bool& value);
  bool read(const String& section, const String& key, long& value);
  bool read(const String& section, const String& key, int& value);
  bool read(const String& section, const String& key, unsigned long& value);
  bool read(const String& section, const String& key, unsigned& value);
  bool read(const String& section, const String& key, double& value);
  /// @}
  /// Escapes are undone; an escaped zero character ends the value.
  bool read(const String& section, const String& key, String& value);
  /// The value as it is stored.
  bool readRaw(const String& section, const String& key, String& value);

  /// Makes keys the keys of the section, in the order of the document; none for a section that is
  /// missing. keys stays as it is when std::bad_alloc is thrown.
  void enumKeys(const String& section, Vector<String>& keys) const;

 private:
  bool writeBoolean(const String& section, const String& key, bool value);

  struct Disposer {
    void operator()(IniDocument* document) const noexcept { IniDispose(document); }
  };

  String section_;
  String path_;
  /// Null when there was no memory for it: every operation of the library then fails.
  std::unique_ptr<IniDocument, Disposer> document_;
  bool loaded_ = false;
};

}  // namespace qv::kit::osdep

#include "kit/osdep/INIFileManager.h"

#include <exception>

namespace qv::kit::osdep {
namespace {

const String& DefaultSection() {
  static const String name("Kestrix Works");
  return name;
}

const String& DefaultKey() {
  static const String name("Default");
  return name;
}

bool MakeDefaultNames() noexcept {
  try {
    DefaultSection();
    DefaultKey();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// Makes the default names when the library is loaded. Whoever asks earlier, from another static
// initializer, makes them then; where there was no memory for them, whoever asks later.
[[maybe_unused]] const bool g_defaultNamesMade = MakeDefaultNames();

/// The text as the INI library takes it, or null, which it refuses as a name and as a path, when
/// that would cut it.
const char* WholeText(const String& text) noexcept {
  return text.hasEmbeddedNull() ? nullptr : text.c_str();
}

const char* SectionName(const String& section) {
  return WholeText(section.empty() ? DefaultSection() : section);
}

const char* KeyName(const String& key) {
  return WholeText(key.empty() ? DefaultKey() : key);
}

}  // namespace

INIFileManager::INIFileManager(const String& path, const String& section)
    : section_(section), path_(path) {
  reloadFile();
}

bool INIFileManager::reloadFile() {
  document_.reset();
  document_.reset(IniNew(0));
  loaded_ = IniReadFromFile(document_.get(), WholeText(path_)) == kIniDone;
  return loaded_;
}

bool INIFileManager::writeFile() {
  const bool written = IniWriteToFile(document_.get(), WholeText(path_)) == kIniDone;
  loaded_ = loaded_ || written;
  return written;
}

bool INIFileManager::keyPresent(const String& section, const String& key) {
  return IniItemExists(document_.get(), SectionName(section), KeyName(key)) == kIniFound;
}

bool INIFileManager::write(const String& section, const String& key, const String& value) {
  const char* const text = WholeText(value);
  return text != nullptr &&
         IniPutString(document_.get(), SectionName(section), KeyName(key), text) == kIniFound;
}

bool INIFileManager::write(const String& section, const String& key, const char* value) {
  return write(section, key, String(value));
}

bool INIFileManager::writeBoolean(const String& section, const String& key, bool value) {
  return IniPutBoolean(document_.get(), SectionName(section), KeyName(key), value ? 1 : 0) ==
         kIniFound;
}

bool INIFileManager::write(const String& section, const String& key, long value) {
  const auto narrow = static_cast<int>(value);
  return narrow == value && write(section, key, narrow);
}

bool INIFileManager::write(const String& section, const String& key, int value) {
  return IniPutInt(document_.get(), SectionName(section), KeyName(key), value) == kIniFound;
}

bool INIFileManager::write(const String& section, const String& key, unsigned long value) {
  const auto narrow = static_cast<unsigned>(value);
  return narrow == value && write(section, key, narrow);
}

bool INIFileManager::write(const String& section, const String& key, unsigned value) {
  return IniPutUInt(document_.get(), SectionName(section), KeyName(key), value) == kIniFound;
}

bool INIFileManager::write(const String& section, const String& key, double value) {
  return IniPutDouble(document_.get(), SectionName(section), KeyName(key), value) == kIniFound;
}

bool INIFileManager::writeRaw(const String& section, const String& key, const String& value) {
  const char* const text = WholeText(value);
  return text != nullptr &&
         IniPutRawString(document_.get(), SectionName(section), KeyName(key), text) == kIniFound;
}

bool INIFileManager::read(const String& section, const String& key, bool& value) {
  int found = 0;
  if (IniGetBoolean(document_.get(), SectionName(section), KeyName(key), &found) != kIniFound) {
    return false;
  }
  value = found != 0;
  return true;
}

bool INIFileManager::read(const String& section, const String& key, long& value) {
  int found = 0;
  if (!read(section, key, found)) return false;
  value = found;
  return true;
}

bool INIFileManager::read(const String& section, const String& key, int& value) {
  return IniGetInt(document_.get(), SectionName(section), KeyName(key), &value) == kIniFound;
}

bool INIFileManager::read(const String& section, const String& key, unsigned long& value) {
  unsigned found = 0;
  if (!read(section, key, found)) return false;
  value = found;
  return true;
}

bool INIFileManager::read(const String& section, const String& key, unsigned& value) {
  return IniGetUInt(document_.get(), SectionName(section), KeyName(key), &value) == kIniFound;
}

bool INIFileManager::read(const String& section, const String& key, double& value) {
  return IniGetDouble(document_.get(), SectionName(section), KeyName(key), &value) == kIniFound;
}

bool INIFileManager::read(const String& section, const String& key, String& value) {
  const char* found = nullptr;
  if (IniGetPointerToString(document_.get(), SectionName(section), KeyName(key), &found) !=
      kIniFound) {
    return false;
  }
  value = found;
  return true;
}

bool INIFileManager::readRaw(const String& section, const String& key, String& value) {
  const char* found = nullptr;
  if (IniGetPointerToRawString(document_.get(), SectionName(section), KeyName(key), &found) !=
      kIniFound) {
    return false;
  }
  value = found;
  return true;
}

void INIFileManager::enumKeys(const String& section, Vector<String>& keys) const {
  const char* const name = SectionName(section);
  const int count = IniNumberOfItems(document_.get(), name);
  Vector<String> found;
  found.reserve(static_cast<unsigned>(count));
  for (int n = 1; n <= count; ++n) {
    const char* key = nullptr;
    if (IniNthItemName(document_.get(), name, n, &key) == kIniFound) found.push_back(key);
  }
  keys.swap(found);
}

}  // namespace qv::kit::osdep

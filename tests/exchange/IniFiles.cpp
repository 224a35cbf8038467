#include <climits>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "kit/StringBase.h"
#include "kit/Vector.h"
#include "kit/osdep/INIFileManager.h"
#include "qvini/qvini.h"
#include "tests/exchange/ExchangedFile.h"

namespace qv::tests {
namespace {

using kit::String;
using kit::Vector;
using kit::osdep::INIFileManager;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// What comes back as it was, escaped where that is needed.
const char* const kEscaped = "\t\n\x01\x1F\x7F\\ \"quoted\" = ; [x] \xC3\xA9\xFF";

/// More than one line takes.
std::string LongValue() {
  std::string value;
  for (int i = 0; i != 300; ++i)
    value += static_cast<char>('a' + i % 26);
  return value;
}

/// An item of a document: how it is put there, and whether it is there as it was put.
template <typename Document>
struct Item {
  std::string key;
  std::function<bool(Document&, const char* key)> put;
  std::function<bool(Document&, const char* key)> isThere;
};

template <typename Document>
void PutAll(Document& document, const std::vector<Item<Document>>& items) {
  for (const Item<Document>& item : items)
    WithValue(item.key, [&] { Require(item.put(document, item.key.c_str()), "cannot be put"); });
}

template <typename Document>
void RequireAll(Document& document, const std::vector<Item<Document>>& items) {
  for (const Item<Document>& item : items) {
    WithValue(item.key, [&] {
      Require(item.isThere(document, item.key.c_str()), "is missing or another value");
    });
  }
}

// The INI library.

constexpr char kSection[] = "Exchange";

template <typename T>
using Put = int (*)(IniDocument*, const char* section, const char* key, T value);
template <typename T>
using Get = int (*)(IniDocument*, const char* section, const char* key, T* value);

template <typename T>
Item<IniDocument> Number(const char* key, Put<T> put, Get<T> get, T value) {
  return {key,
          [=](IniDocument& document, const char* name) {
            return put(&document, kSection, name, value) == kIniFound;
          },
          [=](IniDocument& document, const char* name) {
            T found{};
            return get(&document, kSection, name, &found) == kIniFound && found == value;
          }};
}

Item<IniDocument> Int(const char* key, int value) {
  return Number<int>(key, IniPutInt, IniGetInt, value);
}
Item<IniDocument> UInt(const char* key, unsigned value) {
  return Number<unsigned>(key, IniPutUInt, IniGetUInt, value);
}
Item<IniDocument> Double(const char* key, double value) {
  return Number<double>(key, IniPutDouble, IniGetDouble, value);
}
Item<IniDocument> Boolean(const char* key, int value) {
  return Number<int>(key, IniPutBoolean, IniGetBoolean, value);
}

Item<IniDocument> Text(const char* key, const std::string& value,
                       Put<const char*> put = IniPutString,
                       Get<const char*> get = IniGetPointerToString) {
  return {key,
          [=](IniDocument& document, const char* name) {
            return put(&document, kSection, name, value.c_str()) == kIniFound;
          },
          [=](IniDocument& document, const char* name) {
            const char* found = nullptr;
            return get(&document, kSection, name, &found) == kIniFound && found == value;
          }};
}

Item<IniDocument> RawText(const char* key, const std::string& value) {
  return Text(key, value, IniPutRawString, IniGetPointerToRawString);
}

/// A number that no integer of 32 bits can be.
Item<IniDocument> NoInteger(const char* key, const char* digits) {
  return {key,
          [=](IniDocument& document, const char* name) {
            return IniPut(&document, kSection, name, digits, kIniUnquoted) == kIniFound;
          },
          [](IniDocument& document, const char* name) {
            int number = 0;
            unsigned natural = 0;
            return IniGetInt(&document, kSection, name, &number) == kIniNotAnInt &&
                   IniGetUInt(&document, kSection, name, &natural) == kIniNotAnUnsigned;
          }};
}

std::vector<Item<IniDocument>> KnownItems() {
  return {Int("int: smallest", INT_MIN),
          Int("int: negative", -1),
          Int("int: zero", 0),
          Int("int: largest", INT_MAX),
          UInt("unsigned: zero", 0),
          UInt("unsigned: high bit", 0x80004005U),
          UInt("unsigned: largest", UINT_MAX),
          NoInteger("one more than the largest", "4294967296"),
          NoInteger("one less than the smallest", "-2147483649"),
          Double("double: negative", -1.5),
          Double("double: a third of one", 3.33333333333333e-1),
          Double("double: near the largest", 1.5e308),
          Double("double: near the smallest", 2.5e-308),
          Double("double: infinite", kInfinity),
          Double("double: less than all", -kInfinity),
          Boolean("true", 1),
          Boolean("false", 0),
          Text("escaped", kEscaped),
          Text("long", LongValue()),
          RawText("raw", "C:\\x41\\n"),
          RawText("raw and long", LongValue())};
}

using OwnedDocument = std::unique_ptr<IniDocument, void (*)(IniDocument*)>;

void WriteByLibrary(const std::string& name) {
  const OwnedDocument document(IniNew(0), IniDispose);
  PutAll(*document, KnownItems());
  document->writeFlags |= kIniWriteByteOrderMark;
  Require(IniWriteToFile(document.get(), name.c_str()) == kIniDone, "cannot be written");
}

void ReadByLibrary(const std::string& name) {
  const OwnedDocument document(IniNew(0), IniDispose);
  Require(IniReadFromFile(document.get(), name.c_str()) == kIniDone, "cannot be read");
  Require(document->firstBadLine == kIniNoLine, "holds a bad line");
  Require(IniNumberOfItems(document.get(), kSection) == static_cast<int>(KnownItems().size()),
          "holds more or fewer items");
  RequireAll(*document, KnownItems());
}

// The INI file manager.

template <typename T>
Item<INIFileManager> Managed(const char* key, T value) {
  return {key,
          [=](INIFileManager& manager, const char* name) {
            return manager.write(kSection, name, value);
          },
          [=](INIFileManager& manager, const char* name) {
            T found{};
            return manager.read(kSection, name, found) && found == value;
          }};
}

bool AreSame(const String& found, const std::string& known) {
  return std::string(found.begin(), found.end()) == known;
}

template <typename Write, typename Read>
Item<INIFileManager> ManagedString(const char* key, const std::string& value, Write write,
                                   Read read) {
  return {key,
          [=](INIFileManager& manager, const char* name) {
            return write(manager, name, String(value.c_str()));
          },
          [=](INIFileManager& manager, const char* name) {
            String found;
            return read(manager, name, found) && AreSame(found, value);
          }};
}

Item<INIFileManager> ManagedText(const char* key, const std::string& value) {
  return ManagedString(
      key, value,
      [](auto& manager, auto* name, const String& text) {
        return manager.write(kSection, name, text);
      },
      [](auto& manager, auto* name, String& text) { return manager.read(kSection, name, text); });
}

Item<INIFileManager> ManagedRawText(const char* key, const std::string& value) {
  return ManagedString(
      key, value,
      [](auto& manager, auto* name, const String& text) {
        return manager.writeRaw(kSection, name, text);
      },
      [](auto& manager, auto* name, String& text) {
        return manager.readRaw(kSection, name, text);
      });
}

/// The item without names, which has the default ones.
Item<INIFileManager> Unnamed(long value) {
  return {"no name",
          [=](INIFileManager& manager, const char*) { return manager.write("", "", value); },
          [=](INIFileManager& manager, const char*) {
            long found = 0;
            return manager.read("Kestrix Works", "Default", found) && found == value;
          }};
}

std::vector<Item<INIFileManager>> ManagedItems() {
  return {Managed("long: smallest", -2147483647L - 1),
          Managed("long: negative", -1L),
          Managed("long: largest", 2147483647L),
          Managed("unsigned long: zero", 0UL),
          Managed("unsigned long: largest", 0xFFFFFFFFUL),
          Managed("int: smallest", INT_MIN),
          Managed("unsigned: largest", UINT_MAX),
          Managed("double", -6.02214076e23),
          Managed("double: infinite", kInfinity),
          Managed("true", true),
          Managed("false", false),
          ManagedText("escaped", kEscaped),
          ManagedText("long text", LongValue()),
          ManagedRawText("raw", "C:\\x41\\n"),
          Unnamed(-2147483647L - 1)};
}

void RequireKeysInOrder(const INIFileManager& manager) {
  Vector<String> keys;
  manager.enumKeys(kSection, keys);
  const std::vector<Item<INIFileManager>> items = ManagedItems();
  Require(keys.size() + 1 == items.size(), "holds more or fewer items");
  for (unsigned i = 0; i != keys.size(); ++i)
    WithValue(items[i].key, [&] { Require(AreSame(keys[i], items[i].key), "is elsewhere"); });
}

void WriteByManager(const std::string& name) {
  INIFileManager manager(name.c_str(), kSection);
  PutAll(manager, ManagedItems());
  Require(manager.writeFile(), "cannot be written");
}

void ReadByManager(const std::string& name) {
  INIFileManager manager(name.c_str(), kSection);
  Require(manager.isLoaded(), "cannot be read");
  RequireAll(manager, ManagedItems());
  RequireKeysInOrder(manager);
}

}  // namespace

std::vector<ExchangedFile> IniFiles() {
  const std::string library = "library.ini";
  const std::string manager = "manager.ini";
  return {{library, [=] { WriteByLibrary(library); }, [=] { ReadByLibrary(library); }},
          {manager, [=] { WriteByManager(manager); }, [=] { ReadByManager(manager); }}};
}

}  // namespace qv::tests

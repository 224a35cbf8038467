// The header for conversions to wide characters is not part of its package.
#define SI_NO_CONVERSION
#include <SimpleIni.h>
#include <iniparser/iniparser.h>
#include <unistd.h>

#include <INIReader.h>
#include <algorithm>
#include <boost/property_tree/ini_parser.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/Bench.h"
#include "qvini/qvini.h"

namespace qv::bench {
namespace {

/// Where an entry is, as the libraries want to be asked for it.
struct Place {
  std::string section;
  std::string key;
  std::string path;
};

std::string NumberedName(const char* name, long number) {
  std::string digits = std::to_string(number);
  return std::string(name) + ' ' + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') +
         digits;
}

std::string ValueOf(const Place& place) {
  return "the value of " + place.key + " in " + place.section + ", as is";
}

/// A document of a megabyte, and where its entries are, in any order.
struct Sample {
  Sample() {
    for (long section = 0; section < 200; ++section) {
      const std::string name = NumberedName("Section", section);
      text += '[' + name + "]\n";
      for (long key = 0; key < 100; ++key) {
        const std::string keyName = NumberedName("Key", key);
        places.push_back({name, keyName, name + ':' + keyName});
        text += keyName + " = " + ValueOf(places.back()) + '\n';
      }
    }
    std::shuffle(places.begin(), places.end(), std::mt19937());
  }

  std::string text;
  std::vector<Place> places;
};

const Sample& TheSample() {
  static const Sample sample;
  return sample;
}

/// The sample as a file, in memory where the system has it there.
class SampleFile {
 public:
  SampleFile() {
    const int file = mkstemp(path_);
    const std::string& text = TheSample().text;
    complete_ = file != -1 && write(file, text.data(), text.size()) == ssize_t(text.size());
    close(file);
  }
  SampleFile(const SampleFile&) = delete;
  SampleFile& operator=(const SampleFile&) = delete;
  ~SampleFile() { unlink(path_); }

  const char* path() const {
    if (!complete_) std::abort();
    return path_;
  }

 private:
  char path_[32] = "/dev/shm/ini_bench.XXXXXX";
  bool complete_ = false;
};

struct Qvini {
  explicit Qvini(const std::string& text) {
    Rest rest = {text.data(), text.data() + text.size()};
    IniRead(document.get(), NextLine, &rest);
  }
  explicit Qvini(const char* path) { IniReadFromFile(document.get(), path); }

  const char* get(const Place& place) const {
    const char* value = nullptr;
    IniGet(document.get(), place.section.c_str(), place.key.c_str(), &value);
    return value;
  }

  std::string written() const {
    std::string text;
    IniWrite(document.get(), AddLine, &text);
    return text;
  }

  std::unique_ptr<IniDocument, decltype(&IniDispose)> document{IniNew(0), IniDispose};

 private:
  struct Rest {
    const char* begin;
    const char* end;
  };

  static int NextLine(void* source, char* buffer, size_t size) {
    auto* const rest = static_cast<Rest*>(source);
    if (rest->begin == rest->end) return kIniInputEnd;
    const auto length = static_cast<size_t>(rest->end - rest->begin);
    const auto* const end = static_cast<const char*>(std::memchr(rest->begin, '\n', length));
    const size_t lineLength = end == nullptr ? length : static_cast<size_t>(end - rest->begin);
    if (lineLength >= size) return kIniReadFailed;
    std::memcpy(buffer, rest->begin, lineLength);
    buffer[lineLength] = '\0';
    rest->begin += lineLength + (end == nullptr ? 0 : 1);
    return kIniInputLine;
  }

  static int AddLine(void* sink, const char* line) {
    auto* const text = static_cast<std::string*>(sink);
    text->append(line).push_back('\n');
    return kIniDone;
  }
};

struct SimpleIni {
  explicit SimpleIni(const std::string& text) { document.LoadData(text); }
  explicit SimpleIni(const char* path) { document.LoadFile(path); }

  const char* get(const Place& place) const {
    return document.GetValue(place.section.c_str(), place.key.c_str());
  }

  std::string written() const {
    std::string text;
    document.Save(text);
    return text;
  }

  CSimpleIniCaseA document;
};

struct Inih {
  explicit Inih(const std::string& text) : document(text.data(), text.size()) {}
  explicit Inih(const char* path) : document(std::string(path)) {}

  std::string get(const Place& place) const { return document.Get(place.section, place.key, ""); }

  INIReader document;
};

struct PropertyTree {
  explicit PropertyTree(const std::string& text) {
    std::istringstream stream(text);
    boost::property_tree::read_ini(stream, document);
  }
  explicit PropertyTree(const char* path) { boost::property_tree::read_ini(path, document); }

  const std::string& get(const Place& place) const {
    return document.find(place.section)->second.find(place.key)->second.data();
  }

  std::string written() const {
    std::ostringstream stream;
    boost::property_tree::write_ini(stream, document);
    return stream.str();
  }

  boost::property_tree::ptree document;
};

struct IniParser {
  explicit IniParser(const char* path) : document(iniparser_load(path), iniparser_freedict) {}

  const char* get(const Place& place) const {
    return iniparser_getstring(document.get(), place.path.c_str(), "");
  }

  std::unique_ptr<dictionary, decltype(&iniparser_freedict)> document;
};

template <class Library>
const Library& TheDocument() {
  static const SampleFile file;
  static const Library document(file.path());
  return document;
}

/// That so many entries are there, in any order.
template <class Library>
void RequireEntries(const Library& document, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const Place& place = TheSample().places[i];
    Require(document.get(place) == ValueOf(place));
  }
}

template <class Library, class Source>
void ReadFrom(benchmark::State& state, const Source& source) {
  RequireEntries(Library(source), 100);
  for (auto _ : state) {
    const Library library(source);
    benchmark::DoNotOptimize(&library);
  }
}

template <class Library>
void Read(benchmark::State& state) {
  ReadFrom<Library>(state, TheSample().text);
}

template <class Library>
void ReadFile(benchmark::State& state) {
  const SampleFile file;
  ReadFrom<Library>(state, file.path());
}

template <class Library>
void Get(benchmark::State& state) {
  const Library& document = TheDocument<Library>();
  const std::vector<Place>& places = TheSample().places;
  RequireEntries(document, places.size());
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(document.get(places[i]));
    if (++i == places.size()) i = 0;
  }
}

template <class Library>
void Write(benchmark::State& state) {
  const Library& document = TheDocument<Library>();
  RequireEntries(Library(document.written()), TheSample().places.size());
  for (auto _ : state)
    benchmark::DoNotOptimize(document.written());
}

template <class Library>
void Memory(benchmark::State& state) {
  const Sample& sample = TheSample();
  constexpr int kDocuments = 10;
  std::vector<std::unique_ptr<Library>> documents;
  for (auto _ : state) {
    const long before = ResidentBytes();
    for (int i = 0; i < kDocuments; ++i)
      documents.push_back(std::make_unique<Library>(sample.text));
    state.counters["bytes"] = static_cast<double>(ResidentBytes() - before) / kDocuments /
                              static_cast<double>(sample.places.size());
  }
}

void MemoryOfData(benchmark::State& state) {
  const std::vector<Place>& places = TheSample().places;
  std::size_t bytes = 0;
  for (auto _ : state) {
    for (const Place& place : places)
      bytes += place.key.size() + ValueOf(place).size();
  }
  state.counters["bytes"] = static_cast<double>(bytes) / static_cast<double>(places.size()) /
                            static_cast<double>(state.iterations());
}

std::string KeysInOneSection(long count) {
  std::string text = "[Section]\n";
  for (long i = 0; i < count; ++i)
    text += "Key " + std::to_string(i) + " = value of this key\n";
  return text;
}

std::string SectionsOfOneKey(long count) {
  std::string text;
  for (long i = 0; i < count; ++i)
    text += "[Section " + std::to_string(i) + "]\nKey = value of this section\n";
  return text;
}

// The last entry of a document as these make it.
Place LastKey(long count) {
  return {"Section", "Key " + std::to_string(count - 1), ""};
}
Place LastSection(long count) {
  return {"Section " + std::to_string(count - 1), "Key", ""};
}

template <std::string (*MakeText)(long), Place (*lastPlace)(long)>
void ReadMany(benchmark::State& state) {
  const std::string text = MakeText(state.range(0));
  for (auto _ : state) {
    const Qvini library(text);
    benchmark::DoNotOptimize(&library);
  }
  Require(Qvini(text).get(lastPlace(state.range(0))) != nullptr);
}

void GetOfMany(benchmark::State& state) {
  const long count = state.range(0);
  const Qvini library(KeysInOneSection(count));
  std::vector<Place> places;
  for (long i = 0; i < 10'000; ++i)
    places.push_back({"Section", "Key " + std::to_string(i * 7919 % count), ""});
  for (const Place& place : places)
    Require(library.get(place) != nullptr);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(library.get(places[i]));
    if (++i == places.size()) i = 0;
  }
}

void WriteMany(benchmark::State& state) {
  const Qvini library(KeysInOneSection(state.range(0)));
  Require(Qvini(library.written()).get(LastKey(state.range(0))) != nullptr);
  for (auto _ : state)
    benchmark::DoNotOptimize(library.written());
}

}  // namespace

void AddBenchmarks() {
  Add("IniRead", Read<Qvini>);
  Add("IniRead/SimpleIni", Read<SimpleIni>);
  Add("IniRead/inih", Read<Inih>);
  Add("IniRead/PropertyTree", Read<PropertyTree>);
  Add("IniReadFile", ReadFile<Qvini>);
  Add("IniReadFile/SimpleIni", ReadFile<SimpleIni>);
  Add("IniReadFile/inih", ReadFile<Inih>);
  Add("IniReadFile/PropertyTree", ReadFile<PropertyTree>);
  Add("IniReadFile/iniparser", ReadFile<IniParser>);
  Add("IniGet", Get<Qvini>);
  Add("IniGet/SimpleIni", Get<SimpleIni>);
  Add("IniGet/inih", Get<Inih>);
  Add("IniGet/PropertyTree", Get<PropertyTree>);
  Add("IniGet/iniparser", Get<IniParser>);
  Add("IniWrite", Write<Qvini>);
  Add("IniWrite/SimpleIni", Write<SimpleIni>);
  Add("IniWrite/PropertyTree", Write<PropertyTree>);
  Add("IniMemory", Memory<Qvini>);
  Add("IniMemory/SimpleIni", Memory<SimpleIni>);
  Add("IniMemory/data", MemoryOfData);
  const auto addSizes = [](const char* name, Function function) {
    Add(name, function, {1000, 10'000, 100'000, 1'000'000});
  };
  addSizes("IniReadKeys", ReadMany<KeysInOneSection, LastKey>);
  addSizes("IniReadSections", ReadMany<SectionsOfOneKey, LastSection>);
  addSizes("IniGetKeys", GetOfMany);
  addSizes("IniWriteKeys", WriteMany);
}

}  // namespace qv::bench

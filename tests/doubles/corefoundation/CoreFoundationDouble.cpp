#include "tests/doubles/corefoundation/CoreFoundationDouble.h"

#include <Carbon/Carbon.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

namespace {

[[noreturn]] void Misused(const char* what) {
  std::fprintf(stderr, "Core Foundation misused: %s\n", what);
  std::abort();
}

}  // namespace

/// What CFRelease can be called for.
struct DoubleObject {
  virtual ~DoubleObject() = default;
};

struct DoubleString : DoubleObject {
  explicit DoubleString(std::u16string text) : units(std::move(text)) {}
  std::u16string units;
};

struct DoubleUrl : DoubleObject {
  DoubleUrl(std::string where, bool directory) : path(std::move(where)), isDirectory(directory) {}
  std::string path;
  bool isDirectory;
};

struct DoubleBundle : DoubleObject {
  explicit DoubleBundle(std::string where) : path(std::move(where)) {}
  DoubleBundle(const DoubleBundle&) = delete;
  DoubleBundle& operator=(const DoubleBundle&) = delete;
  ~DoubleBundle() override {
    if (code != nullptr) ::dlclose(code);
  }
  std::string path;
  void* code = nullptr;
};

namespace qv::tests {

struct CoreFoundationDouble::State {
  std::map<std::pair<std::int16_t, std::uint32_t>, std::string> folders;
  std::unique_ptr<DoubleBundle> mainBundle;
  std::string processLocation;
  CFStringEncoding systemEncoding = kLatin1;
  std::int16_t currentProcessResult = 0;
  std::int32_t processLocationResult = 0;
  std::set<std::string> failing;
  std::optional<CFIndex> claimedLength;
  CFIndex claimedBytes = 0;
  std::vector<std::string> calls;
  std::set<const void*> live;

  bool fails(const char* function) const { return failing.count(function) != 0; }
};

namespace {

CoreFoundationDouble::State* g_pState = nullptr;

CoreFoundationDouble::State& State() {
  if (g_pState == nullptr) Misused("a call outside a test");
  return *g_pState;
}

/// Notes the call of a function with its arguments. False when it is to fail.
template <typename... ArgumentsT>
bool Enter(const char* function, const ArgumentsT&... arguments) {
  std::ostringstream text;
  text << function;
  ((text << ' ' << arguments), ...);
  State().calls.push_back(text.str());
  return !State().fails(function);
}

template <typename ObjectT>
ObjectT* Register(ObjectT* object) {
  State().live.insert(object);
  return object;
}

template <typename ObjectT>
ObjectT* Alive(ObjectT* object) {
  if (State().live.count(object) == 0) Misused("no such object");
  return object;
}

void Append(std::u16string& units, char32_t character) {
  if (character >= 0x10000) {
    units += static_cast<char16_t>(0xD7C0 + (character >> 10));
    units += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
  } else {
    units += static_cast<char16_t>(character);
  }
}

bool IsSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDFFF;
}

/// The character at position, which moves on; a lone surrogate is given as it is.
char32_t Next(const std::u16string& units, std::size_t& position) {
  const char32_t first = units[position++];
  if (first < 0xD800 || first > 0xDBFF || position == units.size()) return first;
  const char32_t second = units[position];
  if (second < 0xDC00 || second > 0xDFFF) return first;
  ++position;
  return 0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF);
}

/// The bytes of a character, none when the encoding does not have it.
std::string Encode(char32_t character, CFStringEncoding encoding) {
  const auto byte = [](char32_t value) { return static_cast<char>(value & 0xFF); };
  if (IsSurrogate(character)) return "";
  switch (encoding) {
    case kCFStringEncodingUTF32LE:
      return {byte(character), byte(character >> 8), byte(character >> 16), byte(character >> 24)};
    case kAscii:
      return character < 0x80 ? std::string{byte(character)} : "";
    case kLatin1:
      return character < 0x100 ? std::string{byte(character)} : "";
    case kUtf8: {
      if (character < 0x80) return {byte(character)};
      const char last = byte(0x80 | (character & 0x3F));
      if (character < 0x800) return {byte(0xC0 | character >> 6), last};
      const char third = byte(0x80 | (character >> 6 & 0x3F));
      if (character < 0x10000) return {byte(0xE0 | character >> 12), third, last};
      return {byte(0xF0 | character >> 18), byte(0x80 | (character >> 12 & 0x3F)), third, last};
    }
    default:
      Misused("unknown encoding");
  }
}

/// The first character of the bytes, in 1 to 4 of them; nothing when they are not text.
std::optional<std::pair<char32_t, std::size_t>> Decode(const std::string& bytes,
                                                       CFStringEncoding encoding) {
  const auto byte = [&](std::size_t at) {
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : char32_t{0};
  };
  char32_t character = byte(0);
  std::size_t length = 1;
  if (encoding == kCFStringEncodingUTF32LE) {
    character |= byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
    length = 4;
  } else if (encoding == kUtf8 && character >= 0x80) {
    length = character >= 0xF0 ? 4 : character >= 0xE0 ? 3 : 2;
    character &= 0x7FU >> length;
    for (std::size_t at = 1; at < length; ++at) {
      character = character << 6 | (byte(at) & 0x3F);
    }
  }
  // What does not come out as it went in is no text.
  if (character > 0x10FFFF || bytes.compare(0, length, Encode(character, encoding)) != 0) {
    return std::nullopt;
  }
  return std::make_pair(character, length);
}

std::string Utf8(CFStringRef string) {
  std::string text;
  for (std::size_t position = 0; position < string->units.size();)
    text += Encode(Next(string->units, position), kUtf8);
  return text;
}

DoubleString* NewString(const std::string& bytes, CFStringEncoding encoding) {
  std::u16string units;
  for (std::size_t position = 0; position < bytes.size();) {
    const auto decoded = Decode(bytes.substr(position, 4), encoding);
    if (!decoded) return nullptr;
    Append(units, decoded->first);
    position += decoded->second;
  }
  return Register(new DoubleString(units));
}

// An FSRef holds the beginning of the path that it stands for.
void SetPlace(FSRef* place, const std::string& path) {
  if (path.size() >= sizeof place->hidden) Misused("a path too long for this double");
  std::memcpy(place->hidden, path.c_str(), path.size() + 1);
}

const char* DirectoryWord(bool isDirectory) {
  return isDirectory ? "directory" : "file";
}

}  // namespace

CoreFoundationDouble::CoreFoundationDouble() : state_(std::make_unique<State>()) {
  if (g_pState != nullptr) Misused("two doubles at a time");
  g_pState = state_.get();
}

CoreFoundationDouble::~CoreFoundationDouble() {
  g_pState = nullptr;
}

void CoreFoundationDouble::addFolder(std::int16_t domain, std::uint32_t type,
                                     const std::string& path) {
  state_->folders[{domain, type}] = path;
}

void CoreFoundationDouble::setMainBundle(const std::string& path) {
  state_->mainBundle = std::make_unique<DoubleBundle>(path);
}

void CoreFoundationDouble::setProcessLocation(const std::string& path) {
  state_->processLocation = path;
}

void CoreFoundationDouble::setSystemEncoding(CFStringEncoding encoding) {
  state_->systemEncoding = encoding;
}

void CoreFoundationDouble::setCurrentProcessResult(std::int16_t error) {
  state_->currentProcessResult = error;
}

void CoreFoundationDouble::setProcessLocationResult(std::int32_t status) {
  state_->processLocationResult = status;
}

void CoreFoundationDouble::fail(const std::string& name) {
  state_->failing.insert(name);
}

void CoreFoundationDouble::claimLength(CFIndex length) {
  state_->claimedLength = length;
}

void CoreFoundationDouble::claimMoreBytes(CFIndex bytes) {
  state_->claimedBytes = bytes;
}

CFStringRef CoreFoundationDouble::makeString(const std::u16string& units) {
  return Register(new DoubleString(units));
}

const std::vector<std::string>& CoreFoundationDouble::calls() const {
  return state_->calls;
}

int CoreFoundationDouble::liveObjects() const {
  return static_cast<int>(state_->live.size());
}

}  // namespace qv::tests

using namespace qv::tests;

void CFRelease(CFTypeRef object) {
  if (State().live.erase(object) == 0) Misused("release of what is not there");
  delete static_cast<const DoubleObject*>(object);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  if (allocator != kCFAllocatorDefault || isExternalRepresentation) Misused("CreateWithBytes");
  if (!Enter("CFStringCreateWithBytes", length, encoding)) return nullptr;
  return NewString({bytes, bytes + length}, encoding);
}

CFIndex CFStringGetLength(CFStringRef string) {
  Enter("CFStringGetLength");
  return State().claimedLength.value_or(static_cast<CFIndex>(Alive(string)->units.size()));
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex bufferLength, CFIndex* usedLength) {
  Enter("CFStringGetBytes", encoding, unsigned{lossByte}, bufferLength);
  const std::u16string& units = Alive(string)->units;
  if (range.location != 0 || range.length != static_cast<CFIndex>(units.size()) ||
      isExternalRepresentation) {
    Misused("GetBytes");
  }
  std::size_t position = 0;
  std::size_t used = 0;
  while (position < units.size()) {
    std::size_t next = position;
    std::string bytes = Encode(Next(units, next), encoding);
    if (bytes.empty() && lossByte != 0) bytes = Encode(lossByte, encoding);
    if (bytes.empty()) break;
    // Without a buffer the bytes are only counted.
    if (buffer != nullptr) {
      if (used + bytes.size() > static_cast<std::size_t>(bufferLength)) break;
      std::memcpy(buffer + used, bytes.data(), bytes.size());
    }
    used += bytes.size();
    position = next;
  }
  *usedLength = static_cast<CFIndex>(used) + State().claimedBytes;
  return static_cast<CFIndex>(position);
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  Enter("CFStringGetMaximumSizeForEncoding", length, encoding);
  if (State().fails("CFStringGetMaximumSizeForEncoding")) return -1;
  return encoding == kUtf8 ? length * 3 : length;
}

CFStringEncoding CFStringGetSystemEncoding() {
  return State().systemEncoding;
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory) {
  if (allocator != kCFAllocatorDefault) Misused("allocator");
  const std::string text = Utf8(Alive(path));
  if (!Enter("CFURLCreateWithFileSystemPath", text, style, DirectoryWord(isDirectory))) {
    return nullptr;
  }
  return Register(new DoubleUrl(text, isDirectory));
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef component, Boolean isDirectory) {
  if (allocator != kCFAllocatorDefault) Misused("allocator");
  const std::string text = Utf8(Alive(component));
  if (!Enter("CFURLCreateCopyAppendingPathComponent", text, DirectoryWord(isDirectory))) {
    return nullptr;
  }
  return Register(new DoubleUrl(Alive(url)->path + "/" + text, isDirectory));
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* place) {
  if (allocator != kCFAllocatorDefault) Misused("allocator");
  const std::string path(reinterpret_cast<const char*>(place->hidden));
  if (!Enter("CFURLCreateFromFSRef", path)) return nullptr;
  return Register(new DoubleUrl(path, true));
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  if (!Enter("CFURLCopyFileSystemPath", Alive(url)->path, style)) return nullptr;
  return NewString(url->path, kUtf8);
}

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url) {
  if (allocator != kCFAllocatorDefault) Misused("allocator");
  if (!Enter("CFBundleCreate", Alive(url)->path)) return nullptr;
  if (!std::filesystem::is_directory(url->path)) return nullptr;
  return Register(new DoubleBundle(url->path));
}

CFBundleRef CFBundleGetMainBundle() {
  Enter("CFBundleGetMainBundle");
  return State().mainBundle.get();
}

CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type,
                                 CFStringRef subdirectory) {
  if (type != nullptr || subdirectory != nullptr) Misused("CopyResourceURL");
  const std::string text = Utf8(Alive(name));
  if (!Enter("CFBundleCopyResourceURL", text)) return nullptr;
  const std::string path = bundle->path + "/" + text;
  return std::filesystem::exists(path) ? Register(new DoubleUrl(path, false)) : nullptr;
}

Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle) {
  return Alive(bundle)->code != nullptr;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name) {
  const std::string text = Utf8(Alive(name));
  if (!Enter("CFBundleGetFunctionPointerForName", text)) return nullptr;
  if (Alive(bundle)->code == nullptr) {
    bundle->code = ::dlopen((bundle->path + "/code").c_str(), RTLD_NOW);
  }
  return bundle->code == nullptr ? nullptr : ::dlsym(bundle->code, text.c_str());
}

OSErr FSFindFolder(SInt16 domain, OSType type, Boolean create, FSRef* place) {
  if (create != kDontCreateFolder) Misused("a folder would be created");
  Enter("FSFindFolder", domain, type);
  const auto found = State().folders.find({domain, type});
  if (found == State().folders.end()) return -43;
  SetPlace(place, found->second);
  return noErr;
}

OSErr GetCurrentProcess(ProcessSerialNumber* process) {
  Enter("GetCurrentProcess");
  *process = {0, 2};
  return State().currentProcessResult;
}

OSStatus GetProcessBundleLocation(const ProcessSerialNumber* process, FSRef* place) {
  Enter("GetProcessBundleLocation", process->highLongOfPSN, process->lowLongOfPSN);
  SetPlace(place, State().processLocation);
  return State().processLocationResult;
}

#include "tests/doubles/corefoundation/CoreFoundationDouble.h"

#include <Carbon/Carbon.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

/// What CFRelease can be called for. It stays in memory to the end of the test, so that whoever
/// uses it after its last release is found out.
struct DoubleObject {
  virtual ~DoubleObject() = default;
  /// The last reference has been released.
  virtual void close() {}

  bool isAlive() const { return references > 0 || isSystems; }

  /// The call that gave it.
  std::string origin;
  int references = 1;
  /// Whether it lives without a reference.
  bool isSystems = false;
};

struct DoubleString : DoubleObject {
  explicit DoubleString(std::u16string text) : units(std::move(text)) {}
  std::u16string units;
};

struct DoubleUrl : DoubleObject {
  explicit DoubleUrl(std::string where) : path(std::move(where)) {}
  std::string path;
};

struct DoubleBundle : DoubleObject {
  explicit DoubleBundle(std::string where) : path(std::move(where)) {}
  void close() override {
    if (code != nullptr) ::dlclose(std::exchange(code, nullptr));
  }
  std::string path;
  void* code = nullptr;
};

namespace qv::tests {

struct CoreFoundationDouble::State {
  std::map<std::pair<SInt16, UInt32>, std::string> folders;
  DoubleBundle* mainBundle = nullptr;
  std::string processLocation;
  CFStringEncoding systemEncoding = kLatin1;

  std::map<std::string, std::int32_t> failing;
  int callsUntilFailure = 0;
  std::string failedCall;
  std::optional<CFIndex> claimedLength;
  CFIndex claimedBytes = 0;
  std::optional<CFIndex> claimedMaximumSize;

  std::vector<std::string> calls;
  std::map<CFTypeRef, std::unique_ptr<DoubleObject>> objects;
  /// What the FSRefs stand for that were given out.
  std::vector<std::string> places;
};

namespace {

std::unique_ptr<CoreFoundationDouble> g_pDouble;
CoreFoundationDouble::State* g_pState = nullptr;

[[noreturn]] void Misused(const char* what) {
  std::fprintf(stderr, "Core Foundation misused: %s\n", what);
  std::abort();
}

void Require(bool condition, const char* what) {
  if (!condition) Misused(what);
}

CoreFoundationDouble::State& State() {
  Require(g_pState != nullptr, "a call outside a test");
  return *g_pState;
}

/// Gives every test of the program a double of its own and judges what is left of it.
class EachTest : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& /*test*/) override {
    g_pDouble = std::make_unique<CoreFoundationDouble>();
  }
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    for (const auto& [reference, object] : State().objects) {
      EXPECT_EQ(object->references, 0) << "never released: " << object->origin;
    }
    g_pDouble.reset();
  }
};

const bool kIsListening =
    (testing::UnitTest::GetInstance()->listeners().Append(new EachTest), true);

/// Notes the call of a function with its arguments.
template <typename... ArgumentsT>
void Note(const char* function, const ArgumentsT&... arguments) {
  std::ostringstream text;
  text << function;
  ((text << ' ' << arguments), ...);
  State().calls.push_back(text.str());
}

/// The same for a function that can fail. Gives the status to fail with; 0 when it need not.
template <typename... ArgumentsT>
std::int32_t Status(const char* function, const ArgumentsT&... arguments) {
  Note(function, arguments...);
  if (State().callsUntilFailure > 0 && --State().callsUntilFailure == 0) {
    State().failedCall = State().calls.back();
    return -1;
  }
  const auto failing = State().failing.find(function);
  return failing == State().failing.end() ? 0 : failing->second;
}

/// The same for a function that gives no status.
template <typename... ArgumentsT>
bool Succeeds(const char* function, const ArgumentsT&... arguments) {
  return Status(function, arguments...) == 0;
}

/// Gives the caller a reference to a new object, which the last call brought about or else origin.
template <typename ObjectT>
ObjectT* Give(std::unique_ptr<ObjectT> object, const std::string& origin = State().calls.back()) {
  ObjectT* const given = object.get();
  given->origin = origin;
  State().objects[given] = std::move(object);
  return given;
}

template <typename ObjectT>
ObjectT& Alive(CFTypeRef reference) {
  Require(reference != nullptr, "null in place of an object");
  const auto found = State().objects.find(reference);
  Require(found != State().objects.end(), "not an object");
  Require(found->second->isAlive(), "used after its release");
  auto* const object = dynamic_cast<ObjectT*>(found->second.get());
  Require(object != nullptr, "an object of another kind");
  return *object;
}

const char* NameOf(CFStringEncoding encoding) {
  switch (encoding) {
    case kLatin1:
      return "ISO-8859-1";
    case kUtf8:
      return "UTF-8";
    case kCFStringEncodingUTF32LE:
      return "UTF-32LE";
    default:
      Misused("an encoding that there is not");
  }
}

/// Nothing when the bytes are no text in the one encoding, or none that the other has.
std::optional<std::string> Convert(std::string bytes, const char* from, const char* to) {
  std::string converted(4 * bytes.size(), '\0');
  char* in = bytes.data();
  char* out = converted.data();
  std::size_t inLeft = bytes.size();
  std::size_t outLeft = converted.size();
  const iconv_t descriptor = ::iconv_open(to, from);
  const bool isText = ::iconv(descriptor, &in, &inLeft, &out, &outLeft) == 0;
  ::iconv_close(descriptor);
  if (!isText) return std::nullopt;
  converted.resize(converted.size() - outLeft);
  return converted;
}

/// The bytes of the character at position, which moves on; nothing when it is half of one, or the
/// encoding does not have it.
std::optional<std::string> Encode(const std::u16string& units, std::size_t& position,
                                  CFStringEncoding encoding) {
  const std::size_t first = position++;
  const bool isPair = position < units.size() && (units[first] & 0xFC00) == 0xD800 &&
                      (units[position] & 0xFC00) == 0xDC00;
  if (isPair) ++position;
  const auto* const bytes = reinterpret_cast<const char*>(&units[first]);
  return Convert({bytes, isPair ? 4U : 2U}, "UTF-16LE", NameOf(encoding));
}

std::string Utf8(CFStringRef string) {
  const std::u16string& units = Alive<DoubleString>(string).units;
  std::string text;
  for (std::size_t position = 0; position < units.size();)
    text += Encode(units, position, kUtf8).value_or("");
  return text;
}

CFStringRef NewString(const std::string& bytes, CFStringEncoding encoding) {
  const auto converted = Convert(bytes, NameOf(encoding), "UTF-16LE");
  if (!converted) return nullptr;
  std::u16string units(converted->size() / 2, u'\0');
  converted->copy(reinterpret_cast<char*>(units.data()), converted->size());
  return Give(std::make_unique<DoubleString>(units));
}

CFURLRef NewUrl(const std::string& path) {
  return Give(std::make_unique<DoubleUrl>(path));
}

// An FSRef holds the number of a place, counted from 1.
void SetPlace(FSRef* place, const std::string& path) {
  State().places.push_back(path);
  const std::size_t number = State().places.size();
  std::memcpy(place->hidden, &number, sizeof number);
}

std::string PathOf(const FSRef* place) {
  std::size_t number = 0;
  std::memcpy(&number, place->hidden, sizeof number);
  Require(number > 0 && number <= State().places.size(), "no place");
  return State().places[number - 1];
}

const char* DirectoryWord(bool isDirectory) {
  return isDirectory ? "directory" : "file";
}

void RequireDefault(CFAllocatorRef allocator) {
  Require(allocator == kCFAllocatorDefault, "an allocator of the caller's");
}

/// The bundle at path, when somebody holds a reference to it.
DoubleBundle* OpenBundle(const std::string& path) {
  for (const auto& [reference, object] : State().objects) {
    auto* const bundle = dynamic_cast<DoubleBundle*>(object.get());
    if (bundle != nullptr && bundle->references > 0 && bundle->path == path) return bundle;
  }
  return nullptr;
}

}  // namespace

CoreFoundationDouble& CoreFoundationDouble::instance() {
  State();
  return *g_pDouble;
}

CoreFoundationDouble::CoreFoundationDouble() : state_(std::make_unique<struct State>()) {
  g_pState = state_.get();
}

CoreFoundationDouble::~CoreFoundationDouble() {
  g_pState = nullptr;
}

void CoreFoundationDouble::addFolder(SInt16 domain, UInt32 type, const std::string& path) {
  state_->folders[{domain, type}] = path;
}

void CoreFoundationDouble::setMainBundle(const std::string& path) {
  state_->mainBundle = Give(std::make_unique<DoubleBundle>(path), "setMainBundle");
  state_->mainBundle->isSystems = true;
  state_->mainBundle->references = 0;
}

void CoreFoundationDouble::setProcessLocation(const std::string& path) {
  state_->processLocation = path;
}

void CoreFoundationDouble::setSystemEncoding(CFStringEncoding encoding) {
  state_->systemEncoding = encoding;
}

void CoreFoundationDouble::fail(const std::string& name, std::int32_t status) {
  state_->failing[name] = status;
}

void CoreFoundationDouble::failCall(int number) {
  state_->callsUntilFailure = number;
  state_->failedCall.clear();
}

const std::string& CoreFoundationDouble::failedCall() const {
  return state_->failedCall;
}

void CoreFoundationDouble::claimLength(CFIndex length) {
  state_->claimedLength = length;
}

void CoreFoundationDouble::claimMoreBytes(CFIndex bytes) {
  state_->claimedBytes = bytes;
}

void CoreFoundationDouble::claimMaximumSize(CFIndex size) {
  state_->claimedMaximumSize = size;
}

CFStringRef CoreFoundationDouble::makeString(const std::u16string& units) {
  return Give(std::make_unique<DoubleString>(units), "makeString");
}

const std::vector<std::string>& CoreFoundationDouble::calls() const {
  return state_->calls;
}

int CoreFoundationDouble::references() const {
  int references = 0;
  for (const auto& [reference, object] : state_->objects)
    references += object->references;
  return references;
}

}  // namespace qv::tests

using namespace qv::tests;

void CFRelease(CFTypeRef reference) {
  auto& object = Alive<DoubleObject>(reference);
  Require(object.references > 0, "released without a reference");
  if (--object.references == 0) object.close();
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  RequireDefault(allocator);
  Require(!isExternalRepresentation, "an external representation");
  if (!Succeeds("CFStringCreateWithBytes", length, encoding)) return nullptr;
  return NewString({bytes, bytes + length}, encoding);
}

CFIndex CFStringGetLength(CFStringRef string) {
  Note("CFStringGetLength");
  const auto length = static_cast<CFIndex>(Alive<DoubleString>(string).units.size());
  return State().claimedLength.value_or(length);
}

CFIndex CFStringGetBytes(CFStringRef string, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex bufferLength, CFIndex* usedLength) {
  Require(!isExternalRepresentation, "an external representation");
  const std::u16string& units = Alive<DoubleString>(string).units;
  const auto length = static_cast<CFIndex>(units.size());
  Require(range.location == 0 && range.length == State().claimedLength.value_or(length),
          "a part of a string");
  if (!Succeeds("CFStringGetBytes", encoding, unsigned{lossByte}, bufferLength)) return 0;
  std::size_t position = 0;
  std::size_t used = 0;
  while (position < units.size()) {
    std::size_t next = position;
    auto bytes = Encode(units, next, encoding);
    if (!bytes && lossByte != 0)
      bytes = Convert({static_cast<char>(lossByte)}, "ASCII", NameOf(encoding));
    if (!bytes) break;
    // Without a buffer the bytes are only counted.
    if (buffer != nullptr) {
      if (used + bytes->size() > static_cast<std::size_t>(bufferLength)) break;
      std::memcpy(buffer + used, bytes->data(), bytes->size());
    }
    used += bytes->size();
    position = next;
  }
  *usedLength = static_cast<CFIndex>(used) + State().claimedBytes;
  return static_cast<CFIndex>(position);
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  if (!Succeeds("CFStringGetMaximumSizeForEncoding", length, encoding)) return -1;
  return State().claimedMaximumSize.value_or(encoding == kUtf8 ? length * 3 : length);
}

CFStringEncoding CFStringGetSystemEncoding() {
  return State().systemEncoding;
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory) {
  RequireDefault(allocator);
  const std::string text = Utf8(path);
  const char* const kind = DirectoryWord(isDirectory);
  if (!Succeeds("CFURLCreateWithFileSystemPath", text, style, kind)) return nullptr;
  return NewUrl(text);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef component, Boolean isDirectory) {
  RequireDefault(allocator);
  const std::string folder = Alive<DoubleUrl>(url).path;
  const std::string text = Utf8(component);
  const char* const kind = DirectoryWord(isDirectory);
  if (!Succeeds("CFURLCreateCopyAppendingPathComponent", text, kind)) return nullptr;
  return NewUrl(folder + "/" + text);
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* place) {
  RequireDefault(allocator);
  const std::string path = PathOf(place);
  if (!Succeeds("CFURLCreateFromFSRef", path)) return nullptr;
  return NewUrl(path);
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  const std::string& path = Alive<DoubleUrl>(url).path;
  if (!Succeeds("CFURLCopyFileSystemPath", path, style)) return nullptr;
  return NewString(path, kUtf8);
}

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef url) {
  RequireDefault(allocator);
  const std::string& path = Alive<DoubleUrl>(url).path;
  if (!Succeeds("CFBundleCreate", path)) return nullptr;
  if (!std::filesystem::is_directory(path.c_str())) return nullptr;
  // A bundle that is open is opened once more, not twice.
  if (DoubleBundle* const open = OpenBundle(path)) {
    ++open->references;
    return open;
  }
  return Give(std::make_unique<DoubleBundle>(path));
}

CFBundleRef CFBundleGetMainBundle() {
  return Succeeds("CFBundleGetMainBundle") ? State().mainBundle : nullptr;
}

CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type,
                                 CFStringRef subdirectory) {
  Require(type == nullptr && subdirectory == nullptr, "a resource by more than its name");
  const std::string text = Utf8(name);
  const std::string path = Alive<DoubleBundle>(bundle).path + "/" + text;
  if (!Succeeds("CFBundleCopyResourceURL", text)) return nullptr;
  return std::filesystem::exists(path.c_str()) ? NewUrl(path) : nullptr;
}

Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle) {
  const bool isLoaded = Alive<DoubleBundle>(bundle).code != nullptr;
  return Succeeds("CFBundleIsExecutableLoaded") && isLoaded;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef reference, CFStringRef name) {
  auto& bundle = Alive<DoubleBundle>(reference);
  const std::string text = Utf8(name);
  if (!Succeeds("CFBundleGetFunctionPointerForName", text)) return nullptr;
  if (bundle.code == nullptr) {
    bundle.code = ::dlopen((bundle.path + "/code").c_str(), RTLD_NOW);
  }
  return bundle.code == nullptr ? nullptr : ::dlsym(bundle.code, text.c_str());
}

OSErr FSFindFolder(SInt16 domain, OSType type, Boolean create, FSRef* place) {
  Require(create == kDontCreateFolder, "a folder would be created");
  if (const auto status = Status("FSFindFolder", domain, type)) return static_cast<OSErr>(status);
  const auto found = State().folders.find({domain, type});
  if (found == State().folders.end()) return -43;
  SetPlace(place, found->second);
  return noErr;
}

OSErr GetCurrentProcess(ProcessSerialNumber* process) {
  if (const auto status = Status("GetCurrentProcess")) return static_cast<OSErr>(status);
  *process = {0, 2};
  return noErr;
}

OSStatus GetProcessBundleLocation(const ProcessSerialNumber* process, FSRef* place) {
  const auto status =
      Status("GetProcessBundleLocation", process->highLongOfPSN, process->lowLongOfPSN);
  if (status != 0) return status;
  if (State().processLocation.empty()) return -43;
  SetPlace(place, State().processLocation);
  return noErr;
}

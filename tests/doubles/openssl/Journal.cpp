#include "tests/doubles/openssl/Journal.h"

namespace qv::tests {

using Guard = std::lock_guard<std::mutex>;

Journal& Journal::instance() {
  // Never destroyed: a double may be unloaded after the program's static objects are gone.
  static auto* const journal = new Journal;
  return *journal;
}

std::vector<std::string> Journal::lines() const {
  const Guard guard(mutex_);
  return lines_;
}

std::vector<std::string> Journal::linesOf(const std::string& prefix) const {
  std::vector<std::string> found;
  for (const std::string& line : lines()) {
    if (line.compare(0, prefix.size(), prefix) == 0) found.push_back(line);
  }
  return found;
}

void Journal::clearLines() {
  const Guard guard(mutex_);
  lines_.clear();
}

void Journal::answer(const std::string& function, long value, int call) {
  const Guard guard(mutex_);
  scripts_[function].answers[call] = value;
}

void Journal::onCall(const std::string& function, std::function<void()> hook) {
  const Guard guard(mutex_);
  scripts_[function].hook = std::move(hook);
}

std::vector<std::string> Journal::liveObjects() const {
  const Guard guard(mutex_);
  std::vector<std::string> names;
  for (const auto& [address, object] : objects_) {
    if (object.owner == nullptr && object.references > 0) names.push_back(object.name);
  }
  return names;
}

std::vector<std::string> Journal::misuses() const {
  const Guard guard(mutex_);
  return misuses_;
}

std::uint64_t Journal::lockCalls() const {
  const Guard guard(mutex_);
  return lockCalls_;
}

Journal::Callbacks Journal::callbacks() const {
  const Guard guard(mutex_);
  return callbacks_;
}

void Journal::note(const std::string& line) {
  std::function<void()> hook;
  {
    const Guard guard(mutex_);
    lines_.push_back(line);
    const auto script = scripts_.find(line);
    if (script != scripts_.end()) hook = script->second.hook;
  }
  if (hook) hook();
}

std::optional<long> Journal::call(const std::string& function, const std::string& arguments) {
  std::function<void()> hook;
  std::optional<long> answer;
  {
    const Guard guard(mutex_);
    lines_.push_back(function + "(" + arguments + ")");
    Script& script = scripts_[function];
    ++script.calls;
    for (const int number : {script.calls, kEveryCall}) {
      const auto found = script.answers.find(number);
      if (found != script.answers.end() && !answer) answer = found->second;
    }
    if (function == "CRYPTO_num_locks") lockCount_ = static_cast<int>(answer.value_or(1));
    hook = script.hook;
  }
  if (hook) hook();
  return answer;
}

void Journal::born(const void* object, const std::string& kind) {
  const Guard guard(mutex_);
  objects_[object] = {kind + "-" + std::to_string(++counts_[kind]), nullptr, 1};
}

void Journal::bornInside(const void* part, const std::string& name, const void* owner) {
  const Guard guard(mutex_);
  objects_[part] = {name + " of " + objects_[owner].name, owner, 1};
}

void Journal::share(const void* object) {
  const Guard guard(mutex_);
  ++objects_[object].references;
}

bool Journal::release(const void* object) {
  const Guard guard(mutex_);
  const auto found = objects_.find(object);
  if (found == objects_.end() || found->second.references == 0) return false;
  return --found->second.references == 0;
}

bool Journal::isAlive(const void* object) const {
  const auto found = objects_.find(object);
  if (found == objects_.end() || found->second.references == 0) return false;
  return found->second.owner == nullptr || isAlive(found->second.owner);
}

std::string Journal::nameOf(const void* object) {
  const Guard guard(mutex_);
  if (object == nullptr) return "null";
  const auto found = objects_.find(object);
  if (found == objects_.end()) {
    misuses_.push_back("something unknown was passed on");
    return "unknown";
  }
  if (!isAlive(object)) misuses_.push_back(found->second.name + " was used after it was freed");
  return found->second.name;
}

void Journal::misuse(const std::string& what) {
  const Guard guard(mutex_);
  misuses_.push_back(what);
}

void Journal::setCallbacks(const std::function<void(Callbacks&)>& change) {
  const Guard guard(mutex_);
  change(callbacks_);
}

std::optional<int> Journal::nextLock() {
  const Guard guard(mutex_);
  if (lockCount_ < 1) return std::nullopt;
  return static_cast<int>(lockCalls_++ % static_cast<std::uint64_t>(lockCount_));
}

}  // namespace qv::tests

#include "source/LockArray.h"

#include <cstddef>
#include <limits>

namespace qvsslinit {

using qv::kit::osdep::CriticalSection;

namespace {

constexpr std::int32_t kFreeing = std::numeric_limits<std::int32_t>::min() / 2;

}  // namespace

struct LockArray::Locks {
  explicit Locks(std::int32_t howMany)
      : count(howMany), sections(new CriticalSection[static_cast<std::size_t>(howMany)]) {}

  const std::int32_t count;
  const std::unique_ptr<CriticalSection[]> sections;
  Locks* before = nullptr;  // those that were replaced before these
};

LockArray::~LockArray() {
  users_ = 0;
  destroy();
}

void LockArray::create(std::int32_t count) {
  replace(new Locks(count));
}

void LockArray::destroy() {
  replace(nullptr);
}

// No callback may find locks that are being destroyed, so the pointer goes first.
void LockArray::replace(Locks* locks) {
  Locks* const old = current_.exchange(locks);
  if (old != nullptr) {
    old->before = replaced_;
    replaced_ = old;
  }
  freeReplaced();
}

void LockArray::freeReplaced() {
  std::int32_t nobody = 0;
  // Who comes now is told to stay away from what was replaced, and holds nothing there.
  if (!users_.compare_exchange_strong(nobody, kFreeing)) return;
  Locks* locks = replaced_.exchange(nullptr);
  while (locks != nullptr) {
    const std::unique_ptr<Locks> freed(locks);
    locks = freed->before;
  }
  users_ -= kFreeing;
}

void LockArray::enter(int index) const {
  ++users_;
  const Locks* const locks = current_;
  if (locks == nullptr) {
    --users_;
    return;
  }
  locks->sections[static_cast<std::size_t>(index)].enter();
}

void LockArray::leave(int index) const {
  const bool isReplacedInReach = users_++ >= 0;
  const CriticalSection* const held = findHeld(index, isReplacedInReach);
  if (held != nullptr) {
    held->leave();
    --users_;
  }
  --users_;
}

const CriticalSection* LockArray::findHeld(int index, bool isReplacedInReach) const {
  const auto isHeld = [index](const Locks* locks) {
    return index < locks->count &&
           locks->sections[static_cast<std::size_t>(index)].inOwningThread();
  };
  const Locks* locks = current_;
  if (locks != nullptr && isHeld(locks)) return &locks->sections[static_cast<std::size_t>(index)];
  locks = isReplacedInReach ? replaced_.load() : nullptr;
  while (locks != nullptr && !isHeld(locks))
    locks = locks->before;
  return locks == nullptr ? nullptr : &locks->sections[static_cast<std::size_t>(index)];
}

const CriticalSection* LockArray::at(int index) const {
  const Locks* const locks = current_;
  return locks == nullptr ? nullptr : &locks->sections[static_cast<std::size_t>(index)];
}

}  // namespace qvsslinit

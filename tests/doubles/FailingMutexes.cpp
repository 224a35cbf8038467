#include "tests/doubles/FailingMutexes.h"

#include <pthread.h>

#include <array>
#include <cstddef>
#include <cstdlib>

namespace {

struct State {
  bool watching = false;
  std::array<int, 5> errors{};
  int attributesAlive = 0;
  int mutexesAlive = 0;
  // Plain arrays, for recording must not allocate.
  std::array<const pthread_mutex_t*, 512> made{};
  std::size_t madeCount = 0;
  std::array<std::size_t, 512> destroyed{};
  std::size_t destroyedCount = 0;
};

State g_state;

using Call = qv::tests::FailingMutexes::Call;

int ErrorOf(Call call) {
  return g_state.watching ? g_state.errors[static_cast<std::size_t>(call)] : 0;
}

void NoteMade(const pthread_mutex_t* mutex) {
  if (g_state.watching && g_state.madeCount < g_state.made.size()) {
    g_state.made[g_state.madeCount++] = mutex;
  }
}

void NoteDestroyed(const pthread_mutex_t* mutex) {
  if (!g_state.watching) return;
  for (std::size_t place = 0; place < g_state.madeCount; ++place) {
    if (g_state.made[place] != mutex) continue;
    g_state.made[place] = nullptr;  // another may be made in its place
    g_state.destroyed[g_state.destroyedCount++] = place;
  }
}

template <typename Real>
int Make(Call call, int& alive, Real real) {
  if (const int error = ErrorOf(call); error != 0) return error;
  const int result = real();
  if (result == 0) ++alive;
  return result;
}

}  // namespace

extern "C" {
int __real_pthread_mutexattr_init(pthread_mutexattr_t* attributes);
int __real_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int type);
int __real_pthread_mutexattr_destroy(pthread_mutexattr_t* attributes);
int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_mutex_destroy(pthread_mutex_t* mutex);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_trylock(pthread_mutex_t* mutex);

int __wrap_pthread_mutexattr_init(pthread_mutexattr_t* attributes) {
  return Make(Call::kAttributeInit, g_state.attributesAlive,
              [=] { return __real_pthread_mutexattr_init(attributes); });
}

int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int type) {
  const int error = ErrorOf(Call::kAttributeType);
  return error != 0 ? error : __real_pthread_mutexattr_settype(attributes, type);
}

int __wrap_pthread_mutexattr_destroy(pthread_mutexattr_t* attributes) {
  --g_state.attributesAlive;
  return __real_pthread_mutexattr_destroy(attributes);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
  return Make(Call::kMutexInit, g_state.mutexesAlive, [=] {
    NoteMade(mutex);
    return __real_pthread_mutex_init(mutex, attributes);
  });
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t* mutex) {
  --g_state.mutexesAlive;
  NoteDestroyed(mutex);
  return __real_pthread_mutex_destroy(mutex);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  const int error = ErrorOf(Call::kLock);
  return error != 0 ? error : __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex) {
  const int error = ErrorOf(Call::kTryLock);
  return error != 0 ? error : __real_pthread_mutex_trylock(mutex);
}
}

namespace qv::tests {

FailingMutexes::FailingMutexes() {
  if (g_state.watching) std::abort();
  g_state = State();
  g_state.watching = true;
}

FailingMutexes::~FailingMutexes() {
  g_state.watching = false;
}

void FailingMutexes::Fail(Call call, int error) {
  g_state.errors[static_cast<std::size_t>(call)] = error;
}

int FailingMutexes::attributesAlive() const {
  return g_state.attributesAlive;
}

int FailingMutexes::mutexesAlive() const {
  return g_state.mutexesAlive;
}

std::vector<std::size_t> FailingMutexes::destroyed() const {
  return {g_state.destroyed.begin(),
          g_state.destroyed.begin() + static_cast<std::ptrdiff_t>(g_state.destroyedCount)};
}

}  // namespace qv::tests

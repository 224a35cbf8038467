#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

struct CRYPTO_dynlock_value;

namespace qv::tests {

/// What became of OpenSSL: every call of the double with its arguments, in order, every object that
/// it handed out, and what it is told to do in a call. It lives in a library of its own, which
/// stays in memory while the doubles come and go. Any thread may call.
///
/// A line reads as the call does: X509_set_version(x509-1, 2). Objects are numbered per kind, in
/// the order in which they were made.
class __attribute__((visibility("default"))) Journal {
 public:
  static Journal& instance();

  // For tests.

  static constexpr int kEveryCall = 0;

  /// Calls so far, and "load FILE" and "unload FILE" for the comings and goings of the doubles.
  std::vector<std::string> lines() const;
  /// The lines that begin with prefix.
  std::vector<std::string> linesOf(const std::string& prefix) const;
  void clearLines();

  /// The call of function with this number, counted from 1, gives value (a pointer: null) and does
  /// nothing.
  void answer(const std::string& function, long value, int call = kEveryCall);
  /// The documented sign of failure, which for all functions in use is 0 or null.
  void fail(const std::string& function, int call = kEveryCall) { answer(function, 0, call); }
  /// Runs hook in each call of function, or whenever the line "unload FILE" or its like is noted,
  /// after it was written down.
  void onCall(const std::string& function, std::function<void()> hook);
  void setLockCount(int count) { answer("CRYPTO_num_locks", count); }

  /// Objects that were handed out and not given back, such as "name-1".
  std::vector<std::string> liveObjects() const;
  /// What must never happen: an object used or freed after it was freed, a null where OpenSSL takes
  /// none.
  std::vector<std::string> misuses() const;

  /// How often the locking callback was called by the doubles, and how often for an id.
  std::uint64_t lockCalls() const;

  struct Callbacks {
    void (*locking)(int mode, int n, const char* file, int line) = nullptr;
    unsigned long (*id)() = nullptr;
    CRYPTO_dynlock_value* (*dynlockCreate)(const char* file, int line) = nullptr;
    void (*dynlockLock)(int mode, CRYPTO_dynlock_value* l, const char* file, int line) = nullptr;
    void (*dynlockDestroy)(CRYPTO_dynlock_value* l, const char* file, int line) = nullptr;
  };
  /// What was installed last. A double that is unloaded forgets it, as the real one would.
  Callbacks callbacks() const;

  // For the doubles.

  /// Writes a line that is no call, and runs its hook.
  void note(const std::string& line);
  /// Writes a call down, runs its hook, and gives what the call is told to answer, if anything.
  std::optional<long> call(const std::string& function, const std::string& arguments);

  /// Takes an object up and names it.
  void born(const void* object, const std::string& kind);
  /// Takes up something that lives as long as its owner.
  void bornInside(const void* part, const std::string& name, const void* owner);
  void share(const void* object);
  /// Gives a reference back; whether it was the last.
  bool release(const void* object);
  /// The name of an object that is about to be used.
  std::string nameOf(const void* object);

  void misuse(const std::string& what);
  void setCallbacks(const std::function<void(Callbacks&)>& change);
  /// The lock that a call takes: one after the other, none when OpenSSL has no locks.
  std::optional<int> nextLock();

 private:
  struct Object {
    std::string name;
    const void* owner;
    int references;
  };
  struct Script {
    int calls = 0;
    std::map<int, long> answers;
    std::function<void()> hook;
  };

  Journal() = default;
  bool isAlive(const void* object) const;

  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  std::vector<std::string> misuses_;
  std::map<std::string, Script> scripts_;
  std::map<std::string, int> counts_;
  std::map<const void*, Object> objects_;
  Callbacks callbacks_;
  int lockCount_ = 0;
  std::uint64_t lockCalls_ = 0;
};

}  // namespace qv::tests

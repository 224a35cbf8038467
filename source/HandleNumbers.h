#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace qvsslinit {

/// The numbers of live handles. A host may give a million of them back in any order: none may cost
/// more for it. Those that are gone keep their places until they are half of all, so that no
/// removal moves the rest.
class HandleNumbers {
 public:
  /// Adds a number above 0 that is larger than any before. Throws std::bad_alloc, and then nothing
  /// is added.
  void add(std::int32_t number) { places_.push_back(number); }

  /// All there are, rising.
  std::vector<std::int32_t> all() const {
    std::vector<std::int32_t> numbers = places_;
    numbers.erase(std::remove_if(numbers.begin(), numbers.end(), isGone), numbers.end());
    return numbers;
  }

  /// Takes number away; false when it is not there.
  bool remove(std::int32_t number) noexcept {
    const auto found = find(number);
    if (number <= 0 || found == places_.end() || *found != number) return false;
    if (found + 1 == places_.end()) {
      places_.pop_back();
    } else {
      *found = -number;
      ++gone_;
    }
    if (2 * gone_ > places_.size()) {
      places_.erase(std::remove_if(places_.begin(), places_.end(), isGone), places_.end());
      gone_ = 0;
    }
    return true;
  }

 private:
  using Place = std::vector<std::int32_t>::iterator;

  /// The place of number, or that of the next one. Looks at the last place first: who came last
  /// often goes first.
  Place find(std::int32_t number) noexcept {
    if (!places_.empty() && places_.back() == number) return places_.end() - 1;
    return std::lower_bound(
        places_.begin(), places_.end(), number,
        [](std::int32_t place, std::int32_t wanted) { return std::abs(place) < wanted; });
  }

  static bool isGone(std::int32_t place) noexcept { return place < 0; }

  /// Rising but for the sign, which is that of a number that is gone.
  std::vector<std::int32_t> places_;
  std::size_t gone_ = 0;
};

}  // namespace qvsslinit

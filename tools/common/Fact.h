#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace qv::tools {

/// What is told to machines: nothing, a truth value, a whole number, a text, a list, or named facts
/// in the order in which they were added. Json.h has them as text; only there is a whole JSON
/// library compiled, which takes longer than the rest of a tool.
class Fact {
 public:
  using List = std::vector<Fact>;
  using Names = std::vector<std::pair<std::string, Fact>>;
  using Value = std::variant<std::nullptr_t, bool, std::int64_t, std::string, List, Names>;

  // Defined elsewhere, all of them: every source of the tools would compile them anew.
  Fact() noexcept;
  Fact(const Fact& other);
  Fact(Fact&& other) noexcept;
  Fact& operator=(const Fact& other);
  Fact& operator=(Fact&& other) noexcept;
  ~Fact();

  Fact(std::nullptr_t) noexcept;
  Fact(bool value) noexcept;
  template <typename Integer, typename = std::enable_if_t<std::is_integral_v<Integer>>>
  Fact(Integer value) noexcept : Fact(Number{static_cast<std::int64_t>(value)}) {}
  Fact(const char* text);
  Fact(std::string text) noexcept;
  Fact(List list) noexcept;
  Fact(std::initializer_list<Names::value_type> names);

  static Fact list();
  static Fact names();

  const Value& value() const { return value_; }

  /// The fact of that name, added where there is none. For named facts.
  Fact& operator[](const std::string& name);
  /// Null where there is none of that name.
  const Fact* find(const std::string& name) const;
  /// The text; empty where it is none.
  const std::string& text() const;
  /// Empty where it is no list.
  const List& items() const;
  /// Adds to a list.
  void add(Fact item);

  friend bool operator==(const Fact& a, const Fact& b);
  friend bool operator!=(const Fact& a, const Fact& b) { return !(a == b); }

 private:
  struct Number {
    std::int64_t value;
  };
  explicit Fact(Number number) noexcept;

  Value value_;
};

}  // namespace qv::tools

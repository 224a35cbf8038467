#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/Input.h"

namespace qv::fuzz {

using Check = void (*)(Input& input);

/// Gives the input to the check that its first byte names.
template <std::size_t kCount>
void RunOneOf(const Check (&checks)[kCount], const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const std::uint32_t chosen = input.below(kCount);
  SCOPED_TRACE("check " + std::to_string(chosen));
  checks[chosen](input);
}

}  // namespace qv::fuzz

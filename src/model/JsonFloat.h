#pragma once

#include <charconv>
#include <cstdlib>
#include <string>

#include "model/Json.h"

namespace tavorin {

// A 32-bit float written as the double of its shortest decimal form, so files
// read 0.06 rather than 0.05999999865889549.
inline Json jsonFloat32(float value) {
  char buffer[32];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::strtod(std::string(buffer, result.ptr).c_str(), nullptr);
}

}  // namespace tavorin

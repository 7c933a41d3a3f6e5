#pragma once

#include <string>
#include <string_view>

namespace tavorin {

// `text` without the white space at either end: what a name typed by the operator keeps.
inline std::string trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\n\r\v\f";
  const auto first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(kSpace) - first + 1));
}

}  // namespace tavorin

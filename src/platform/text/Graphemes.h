#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tavorin {

// The first `count` user-perceived characters of UTF-8 `text` (a letter with
// its combining marks counts once), never cutting one in half. Empty when
// `text` is not UTF-8.
std::string leadingCharacters(std::string_view text, std::size_t count);

}  // namespace tavorin

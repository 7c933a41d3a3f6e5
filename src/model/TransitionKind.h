#pragma once

#include <string_view>
#include <utility>

#include "base/EnumNames.h"

namespace tavorin {

// The built-in transitions, stored by name in scenes and sessions. A name that
// is none of these reads as no kind; each reader has its own fallback.
enum class TransitionKind { cut, crossfade, slide, shrinkToCorner, matchMove };

template <>
struct EnumNames<TransitionKind> {
  using K = TransitionKind;
  static constexpr std::pair<K, std::string_view> table[] = {
      {K::cut, "cut"}, {K::crossfade, "crossfade"}, {K::slide, "slide"},
      {K::shrinkToCorner, "shrinkToCorner"}, {K::matchMove, "matchMove"}};
};

}  // namespace tavorin

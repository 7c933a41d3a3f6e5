#include "model/LayerModes.h"

namespace tavorin {

std::optional<KeyMode> keyModeFromInt(long long value) {
  if (value < 0 || value > 2) return std::nullopt;
  return static_cast<KeyMode>(value);
}

std::optional<MaskMode> maskModeFromInt(long long value) {
  if (value < 0 || value > 2) return std::nullopt;
  return static_cast<MaskMode>(value);
}

}  // namespace tavorin

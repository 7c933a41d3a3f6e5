#pragma once

#include <optional>

namespace tavorin {

// How a layer is keyed. Stored as its integer value.
enum class KeyMode { none = 0, chroma = 1, personSegmentation = 2 };

// How a layer's mask polygons act. Stored as its integer value.
enum class MaskMode {
  none = 0,
  exclude = 1,  // regions are cut out; the layers below show through
  include = 2,  // only the regions are kept
};

std::optional<KeyMode> keyModeFromInt(long long value);
std::optional<MaskMode> maskModeFromInt(long long value);

}  // namespace tavorin

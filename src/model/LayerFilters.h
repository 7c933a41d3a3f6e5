#pragma once

#include <cstddef>
#include <string>

#include "base/Uuid.h"
#include "model/LayerState.h"
#include "model/VideoFilterConfig.h"

namespace tavorin {

// Edits of a layer's filter stack, which draws first to last. An unknown
// filter id changes nothing.

// Appends an enabled filter of `kind` with its kind's starting parameters.
Uuid addVideoFilter(LayerState& layer, VideoFilterKind kind);
void setVideoFilterEnabled(LayerState& layer, const Uuid& filterID, bool enabled);
void setVideoFilterParam(LayerState& layer, const Uuid& filterID, const std::string& key, double value);
void removeVideoFilter(LayerState& layer, const Uuid& filterID);
// Moves the entry at index `from` so that it ends up at index `to`, or last
// when `to` lies past the end. False when nothing moves.
bool moveVideoFilter(LayerState& layer, std::size_t from, std::size_t to);

}  // namespace tavorin

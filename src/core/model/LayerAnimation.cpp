#include "core/model/LayerAnimation.h"

#include "core/model/RenderLayer.h"

namespace tavorin {

// The motions themselves arrive with the layer animation engine; until then a
// layer is drawn where its state puts it.
void LayerAnimation::apply(RenderLayer&, double) const {}

}  // namespace tavorin

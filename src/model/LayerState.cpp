#include "model/LayerState.h"

#include "model/RenderLayer.h"

namespace tavorin {

RenderLayer LayerState::toRenderLayer() const { return RenderLayer{{*this}, id}; }

}  // namespace tavorin

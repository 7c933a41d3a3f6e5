#pragma once

#include <vector>

#include "model/LayerState.h"

namespace tavorin {

// Calls `fn` for each layer bottom first: ascending zOrder, array order among
// equals (a stable sort). It sorts nothing, so the render thread walks a scene
// without allocating; the cost is layers times distinct zOrders, nothing for
// the dozens of layers a scene holds.
template <class Fn>
void forEachInStackOrder(const std::vector<LayerState>& layers, Fn&& fn) {
  bool started = false;
  int last = 0;
  for (;;) {
    bool found = false;
    int next = 0;
    for (const auto& layer : layers) {
      if (started && layer.zOrder <= last) continue;
      if (!found || layer.zOrder < next) {
        next = layer.zOrder;
        found = true;
      }
    }
    if (!found) return;
    for (const auto& layer : layers) {
      if (layer.zOrder == next) fn(layer);
    }
    last = next;
    started = true;
  }
}

}  // namespace tavorin

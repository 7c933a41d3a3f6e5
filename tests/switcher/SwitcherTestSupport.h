#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "model/MixerScene.h"

namespace tavorin::switcher_testing {

inline MixerScene sceneOf(std::initializer_list<std::string> sources, std::string name = "Scene") {
  MixerScene scene = MixerScene::named(std::move(name));
  int z = 0;
  for (const auto& source : sources) {
    auto layer = LayerState::make(source);
    layer.zOrder = z++;
    scene.layers.push_back(layer);
  }
  return scene;
}

inline std::vector<std::string> sourcesOf(const MixerScene& scene) {
  std::vector<std::string> out;
  for (const auto& layer : scene.layers) out.push_back(layer.sourceID);
  return out;
}

using Sources = std::vector<std::string>;

}  // namespace tavorin::switcher_testing

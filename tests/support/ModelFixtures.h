#pragma once

#include "model/MixerScene.h"

namespace tavorin::testing {

// The same identifier every run, so a scene can be compared with a file.
inline Uuid fixedID(int n) {
  Uuid id;
  id.bytes[15] = static_cast<std::uint8_t>(n);
  return id;
}

// A layer with every field away from its default and every optional set, so a
// coder or copier that forgets a field shows up in a comparison.
inline LayerState populatedLayer() {
  LayerState layer = LayerState::make("camera-1");
  layer.id = fixedID(1);
  layer.center = {0.25, 0.75};
  layer.size = {0.4, 0.3};
  layer.rotation = 0.7f;
  layer.opacity = 0.8f;
  layer.zOrder = 3;
  layer.cropRect = {{0.1, 0.05}, {0.8, 0.9}};
  layer.fill = true;
  layer.corners = {0.1f, 0.2f, 0.3f, 0.4f};
  layer.borderColor = {0.2f, 0.4f, 0.6f, 0.8f};
  layer.borderWidth = 0.02f;
  layer.shadowOpacity = 0.5f;
  layer.shadowRadius = 0.1f;
  layer.shadowOffset = {-0.01, 0.04};
  layer.flipHorizontal = true;
  layer.flipVertical = true;
  layer.keyMode = KeyMode::chroma;
  layer.keyColor = {0, 0, 1, 1};
  layer.keyThreshold = 0.4f;
  layer.keySmoothness = 0.2f;
  layer.segmentationQuality = 2;
  layer.segmentationSmoothing = 0.7f;
  layer.backgroundBlur = 0.3f;
  layer.cornerPin = CornerPin{{0.1, 0.1}, {0.9, 0.05}, {0.05, 0.95}, {0.95, 0.9}};
  layer.maskMode = MaskMode::exclude;
  layer.maskPolygons = {{{0, 0}, {1, 0}, {0.5, 1}}, {{0.2, 0.2}, {0.4, 0.2}, {0.4, 0.4}, {0.2, 0.4}}};
  layer.locked = true;
  layer.groupID = fixedID(2);
  layer.hidden = true;
  layer.animation = {LayerAnimation::Kind::rotateCW, 1.5, LayerAnimation::Move::pop, 0.5, 123.25,
                     LayerAnimation::Move::slideLeft, 0.4, 130.5};
  layer.videoFilters = {{fixedID(3), VideoFilterKind::gaussianBlur, false, {{"radius", 12.5}}},
                        {fixedID(4), VideoFilterKind::vhs, true, {}}};
  return layer;
}

// A scene with every optional set and something in every list.
inline MixerScene populatedScene() {
  MixerScene scene = MixerScene::named("Interview");
  scene.id = fixedID(10);
  LayerGroup group{fixedID(11), "Guests"};
  LayerState grouped = populatedLayer();
  grouped.groupID = group.id;
  LayerState screen = LayerState::make("screen");
  screen.id = fixedID(12);
  scene.layers = {grouped, screen};
  scene.groups = {group};
  scene.audio.channels = {{"mic", {0.5f, false}}, {"music", {1.25f, true}}};
  scene.transition = SceneTransition{"slide", fixedID(13), 1.25};
  scene.companionLayoutID = fixedID(14);
  LayerState vertical = LayerState::make("camera-1");
  vertical.id = fixedID(15);
  scene.verticalLayers = std::vector<LayerState>{vertical, populatedLayer()};
  scene.verticalGroups = std::vector<LayerGroup>{{fixedID(16), "Vertical guests"}};
  return scene;
}

}  // namespace tavorin::testing

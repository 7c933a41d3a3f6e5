#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/Geometry.h"
#include "model/Overlay.h"

namespace tavorin {

// The overlays the app can make for the operator, in menu order.
enum class OverlayStarter { startingSoon, brb, camFrame, ticker, endCard, countdown, lowerThird, spinWheel, diceRoll };

struct OverlayStarterInfo {
  OverlayStarter starter;
  std::string_view menuLabel;
  std::string_view libraryName;
  std::vector<OverlayParam> params;
  // Where its layer goes on the canvas, in unit coordinates.
  Point center;
  Size size;
};

const std::vector<OverlayStarterInfo>& overlayStarters();
const OverlayStarterInfo& overlayStarterInfo(OverlayStarter starter);

// The starter's document, its manifest and its page text filled from the same defaults.
std::string overlayStarterDocument(OverlayStarter starter);

// The end card's stars as a CSS box-shadow list: `count` white one-pixel
// stars from one fixed sequence, so that a shorter list is the start of a longer one.
std::string overlayStarField(int count);

}  // namespace tavorin

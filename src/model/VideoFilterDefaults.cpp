#include "model/VideoFilterDefaults.h"

namespace tavorin {

std::map<std::string, double> defaultVideoFilterParams(VideoFilterKind kind) {
  using K = VideoFilterKind;
  switch (kind) {
    case K::bw: return {};
    case K::colorControls: return {{"brightness", 0}, {"contrast", 1}, {"saturation", 1}};
    case K::exposure: return {{"ev", 0}};
    case K::hue: return {{"angle", 0}};
    case K::temperature: return {{"temp", 6500}, {"tint", 0}};
    case K::gamma: return {{"power", 1}};
    case K::vibrance: return {{"amount", 0}};
    case K::sepia: return {{"intensity", 1}};
    case K::invert: return {};
    case K::posterize: return {{"levels", 6}};
    case K::vignette: return {{"intensity", 1}, {"radius", 1}};
    case K::gaussianBlur: return {{"radius", 6}};
    case K::sharpen: return {{"sharpness", 0.5}};
    case K::pixellate: return {{"scale", 10}};
    case K::bloom: return {{"radius", 10}, {"intensity", 0.8}};
    case K::barnDoor: return {{"coverage", 0.12}, {"orientation", 0}};
    case K::scanlines: return {{"intensity", 0.4}, {"lineSize", 2}};
    case K::chromaShift: return {{"amount", 3}};
    case K::vhs: return {{"amount", 0.6}};
  }
  return {};
}

}  // namespace tavorin

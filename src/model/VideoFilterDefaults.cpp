#include "model/VideoFilterDefaults.h"

namespace tavorin {

namespace {

using Spec = VideoFilterParamSpec;

constexpr Spec kColorControls[] = {{"brightness", "Brightness", -0.5, 0.5, 0, ""},
                                   {"contrast", "Contrast", 0.4, 1.8, 1, ""},
                                   {"saturation", "Saturation", 0, 2, 1, ""}};
constexpr Spec kExposure[] = {{"ev", "Exposure", -3, 3, 0, "EV"}};
constexpr Spec kHue[] = {{"angle", "Hue", -180, 180, 0, "°"}};
constexpr Spec kTemperature[] = {{"temp", "Temperature", 3000, 9000, 6500, "K"}, {"tint", "Tint", -100, 100, 0, ""}};
constexpr Spec kGamma[] = {{"power", "Gamma", 0.3, 3, 1, ""}};
constexpr Spec kVibrance[] = {{"amount", "Vibrance", -1, 1, 0, ""}};
constexpr Spec kSepia[] = {{"intensity", "Intensity", 0, 1, 1, "%"}};
constexpr Spec kPosterize[] = {{"levels", "Levels", 2, 24, 6, ""}};
constexpr Spec kVignette[] = {{"intensity", "Intensity", 0, 2, 1, ""}, {"radius", "Radius", 0, 2, 1, ""}};
constexpr Spec kBlur[] = {{"radius", "Radius", 0, 40, 6, ""}};
constexpr Spec kSharpen[] = {{"sharpness", "Sharpness", 0, 2, 0.5, ""}};
constexpr Spec kPixellate[] = {{"scale", "Block size", 1, 60, 10, ""}};
constexpr Spec kBloom[] = {{"radius", "Radius", 0, 40, 10, ""}, {"intensity", "Intensity", 0, 2, 0.8, "%"}};
constexpr Spec kBarnDoor[] = {{"coverage", "Coverage", 0, 0.45, 0.12, "%"},
                              {"orientation", "Vertical bars", 0, 1, 0, ""}};
constexpr Spec kScanlines[] = {{"intensity", "Intensity", 0, 1, 0.4, "%"}, {"lineSize", "Line size", 1, 6, 2, ""}};
constexpr Spec kChromaShift[] = {{"amount", "Amount", 0, 10, 3, "px"}};
constexpr Spec kVhs[] = {{"amount", "Amount", 0, 1, 0.6, "%"}};

}  // namespace

std::string_view videoFilterLabel(VideoFilterKind kind) {
  using K = VideoFilterKind;
  switch (kind) {
    case K::bw: return "Black & White";
    case K::colorControls: return "Brightness / Contrast";
    case K::exposure: return "Exposure";
    case K::hue: return "Hue";
    case K::temperature: return "White balance";
    case K::gamma: return "Gamma";
    case K::vibrance: return "Vibrance";
    case K::sepia: return "Sepia";
    case K::invert: return "Invert";
    case K::posterize: return "Posterize";
    case K::vignette: return "Vignette";
    case K::gaussianBlur: return "Blur";
    case K::sharpen: return "Sharpen";
    case K::pixellate: return "Pixellate";
    case K::bloom: return "Bloom / Glow";
    case K::barnDoor: return "Barn doors / Letterbox";
    case K::scanlines: return "Scanlines";
    case K::chromaShift: return "Chroma shift";
    case K::vhs: return "VHS tape";
  }
  return "";
}

std::span<const VideoFilterParamSpec> videoFilterParamSpecs(VideoFilterKind kind) {
  using K = VideoFilterKind;
  switch (kind) {
    case K::bw:
    case K::invert: return {};
    case K::colorControls: return kColorControls;
    case K::exposure: return kExposure;
    case K::hue: return kHue;
    case K::temperature: return kTemperature;
    case K::gamma: return kGamma;
    case K::vibrance: return kVibrance;
    case K::sepia: return kSepia;
    case K::posterize: return kPosterize;
    case K::vignette: return kVignette;
    case K::gaussianBlur: return kBlur;
    case K::sharpen: return kSharpen;
    case K::pixellate: return kPixellate;
    case K::bloom: return kBloom;
    case K::barnDoor: return kBarnDoor;
    case K::scanlines: return kScanlines;
    case K::chromaShift: return kChromaShift;
    case K::vhs: return kVhs;
  }
  return {};
}

std::map<std::string, double> defaultVideoFilterParams(VideoFilterKind kind) {
  std::map<std::string, double> params;
  for (const VideoFilterParamSpec& spec : videoFilterParamSpecs(kind)) params[std::string(spec.key)] = spec.defaultValue;
  return params;
}

std::map<std::string, double> effectiveParams(const VideoFilterConfig& config) {
  auto params = defaultVideoFilterParams(config.kind);
  for (const auto& [key, value] : config.params) params[key] = value;
  return params;
}

}  // namespace tavorin

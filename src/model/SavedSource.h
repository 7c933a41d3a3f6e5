#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/EnumNames.h"
#include "model/Json.h"

namespace tavorin {

// One source of the show as "sources.json" keeps it; enough to rebuild the
// source at the next start. Only the fields of its kind are set.
struct SavedSource {
  enum class Kind { camera, display, window, application, image, black, clip, overlay, shape, ndi, rtsp, text, text3d, browser, syncTest };

  std::string id;  // kept across runs; layers point at it
  Kind kind = Kind::camera;
  std::string name;

  std::optional<std::string> cameraUniqueID;
  std::optional<std::uint32_t> displayID;
  std::optional<std::string> appBundleID;
  std::optional<std::string> windowTitle;
  std::optional<std::string> windowOwnerBundleID;
  // A screen shared through the desktop's portal (Wayland): the token that
  // lets the next run share the same screen or window without asking.
  std::optional<std::string> screenShareToken;
  std::optional<std::string> filePath;  // image, clip, overlay
  std::optional<std::map<std::string, std::string>> overlayConfig;
  // The shape, text and 3D text designs are kept as written, so that nothing
  // in the file is lost whatever those sources make of them.
  std::optional<Json> shapeConfig;
  std::optional<std::string> ndiName;
  std::optional<std::string> rtspURL;
  std::optional<Json> textConfig;
  std::optional<Json> text3DConfig;
  std::optional<std::string> browserURL;
  std::optional<double> trimStart;  // seconds into a clip
  std::optional<double> trimEnd;

  friend bool operator==(const SavedSource&, const SavedSource&) = default;
};

template <>
struct EnumNames<SavedSource::Kind> {
  using K = SavedSource::Kind;
  static constexpr std::pair<K, std::string_view> table[] = {
      {K::camera, "camera"}, {K::display, "display"}, {K::window, "window"}, {K::application, "application"},
      {K::image, "image"},   {K::black, "black"},     {K::clip, "clip"},     {K::overlay, "overlay"},
      {K::shape, "shape"},   {K::ndi, "ndi"},         {K::rtsp, "rtsp"},     {K::text, "text"},
      {K::text3d, "text3d"}, {K::browser, "browser"}, {K::syncTest, "syncTest"}};
};

}  // namespace tavorin

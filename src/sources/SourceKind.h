#pragma once

#include <string_view>

namespace tavorin {

// What a source captures. Stored as its position, so the order is fixed.
enum class SourceKind { camera, display, window, application, still, clip, ndi, rtsp, overlay, browser, syncTest };

// The name of the symbol the views show for a kind.
constexpr std::string_view sourceKindSymbol(SourceKind kind) {
  switch (kind) {
    case SourceKind::camera: return "camera";
    case SourceKind::display: return "display";
    case SourceKind::window: return "macwindow";
    case SourceKind::application: return "app.dashed";
    case SourceKind::still: return "photo";
    case SourceKind::clip: return "film";
    case SourceKind::ndi: return "network";
    case SourceKind::rtsp: return "video.badge.waveform";
    case SourceKind::overlay: return "globe";
    case SourceKind::browser: return "safari";
    case SourceKind::syncTest: return "metronome";
  }
  return {};
}

}  // namespace tavorin

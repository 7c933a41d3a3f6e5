#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/Overlay.h"

namespace tavorin {

using OverlayConfig = std::map<std::string, std::string>;

// The params a document declares in its <script id="tv-params"
// type="application/json"> element, found by a plain text scan: the first
// ">" after the id ends the tag, the first "</script>" after it ends the
// array. Empty when anything is missing or malformed.
std::vector<OverlayParam> parseOverlayParams(std::string_view html);

// The defaults of `params` (a later duplicate key wins), then `stored` over
// them; stored keys the manifest no longer has stay.
OverlayConfig effectiveOverlayConfig(const std::vector<OverlayParam>& params, const OverlayConfig& stored);

// The script that hands `config` to the page's applyTavorinConfig, typed by
// the manifest; none for a document without params.
std::optional<std::string> overlayConfigScript(const std::vector<OverlayParam>& params, const OverlayConfig& config);

// Restarts the page's animation; true when the page has the entry point.
inline constexpr std::string_view kOverlayReplayScript =
    "(function(){ if (window.tavorinReplay) { window.tavorinReplay(); return true; } return false; })()";

// "1" or "true" in any letter case.
bool overlayBoolValue(std::string_view value);

// The page size a layer of `width` by `height` points asks for: rounded, at
// least 64 a side; none when it is within one point of `current` both ways.
struct OverlayPageSize {
  int width = 1920;
  int height = 1080;
  friend bool operator==(const OverlayPageSize&, const OverlayPageSize&) = default;
};
std::optional<OverlayPageSize> overlayPageSizeFor(double width, double height, OverlayPageSize current);

// What the operator typed, as an address: trimmed, and "https://" in front of
// text that names no scheme. None for blank text.
std::optional<std::string> normalizeWebAddress(std::string_view text);

}  // namespace tavorin

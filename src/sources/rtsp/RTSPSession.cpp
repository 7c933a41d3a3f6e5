#include "sources/rtsp/RTSPSession.h"

#include <algorithm>
#include <cctype>

#include "base/Text.h"
#include "sources/rtsp/RTSPAuth.h"

namespace tavorin {

RTSPVideoDescription parseVideoDescription(std::string_view sdp) {
  RTSPVideoDescription video;
  bool inVideo = false;
  std::size_t at = 0;
  while (at <= sdp.size()) {
    auto end = sdp.find('\n', at);
    if (end == std::string_view::npos) end = sdp.size();
    const std::string line = trimmed(sdp.substr(at, end - at));
    at = end + 1;
    if (line.starts_with("m=")) {
      inVideo = line.starts_with("m=video");
      continue;
    }
    if (!inVideo) continue;
    if (line.starts_with("a=control:")) {
      video.control = line.substr(10);
    } else if (line.starts_with("a=fmtp:")) {
      const auto key = line.find("sprop-parameter-sets=");
      if (key == std::string::npos) continue;
      std::string_view sets = std::string_view(line).substr(key + 21);
      sets = sets.substr(0, sets.find(';'));
      std::vector<std::string_view> pieces;
      while (!sets.empty()) {
        const auto comma = sets.find(',');
        if (comma != 0) pieces.push_back(sets.substr(0, comma));
        sets = comma == std::string_view::npos ? std::string_view() : sets.substr(comma + 1);
      }
      if (pieces.size() > 0) {
        if (auto sps = base64Decoded(pieces[0])) video.sps = std::move(sps);
      }
      if (pieces.size() > 1) {
        if (auto pps = base64Decoded(pieces[1])) video.pps = std::move(pps);
      }
    }
  }
  return video;
}

std::string controlURL(const RTSPResponse& describe, const std::string& requestURL,
                       const std::optional<std::string>& control) {
  const std::string base = describe.header("content-base").value_or(describe.header("content-location").value_or(requestURL));
  if (!control || *control == "*") return base;
  std::string lower = *control;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  if (lower.starts_with("rtsp://")) return *control;
  return base.ends_with('/') ? base + *control : base + "/" + *control;
}

std::optional<std::string> sessionOf(const RTSPResponse& setup) {
  const auto header = setup.header("session");
  if (!header) return std::nullopt;
  std::string_view rest = *header;
  while (!rest.empty()) {
    const auto semicolon = rest.find(';');
    const std::string piece = trimmed(rest.substr(0, semicolon));
    if (!piece.empty()) return piece;
    rest = semicolon == std::string_view::npos ? std::string_view() : rest.substr(semicolon + 1);
  }
  return std::nullopt;
}

}  // namespace tavorin

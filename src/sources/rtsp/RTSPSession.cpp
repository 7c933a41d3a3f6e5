#include "sources/rtsp/RTSPSession.h"

#include <algorithm>
#include <cctype>

#include "base/Text.h"
#include "sources/rtsp/RTSPAuth.h"

namespace tavorin {

namespace {

// The first base64 piece after `key` up to a semicolon, when it decodes.
std::optional<std::vector<std::uint8_t>> fmtpSet(std::string_view line, std::string_view key) {
  const auto at = line.find(key);
  if (at == std::string_view::npos) return std::nullopt;
  std::string_view value = line.substr(at + key.size());
  value = value.substr(0, value.find(';'));
  return base64Decoded(value.substr(0, value.find(',')));
}

}  // namespace

RTSPVideoDescription parseVideoDescription(std::string_view sdp) {
  RTSPVideoDescription video;
  bool inVideo = false;
  forEachSdpLine(sdp, [&](const std::string& line) {
    if (line.starts_with("m=")) {
      inVideo = line.starts_with("m=video");
      return;
    }
    if (!inVideo) return;
    if (line.starts_with("a=control:")) {
      video.control = line.substr(10);
    } else if (line.starts_with("a=rtpmap:")) {
      std::string encoding = line.substr(line.find(' ') == std::string::npos ? line.size() : line.find(' ') + 1);
      encoding = encoding.substr(0, encoding.find('/'));
      std::transform(encoding.begin(), encoding.end(), encoding.begin(), [](unsigned char c) { return char(std::toupper(c)); });
      if (encoding == "H265" || encoding == "HEVC") video.codec = StreamVideoFormat::Codec::h265;
    } else if (line.starts_with("a=fmtp:") && line.find("sprop-vps=") != std::string::npos) {
      if (auto set = fmtpSet(line, "sprop-vps=")) video.vps = std::move(set);
      if (auto set = fmtpSet(line, "sprop-sps=")) video.sps = std::move(set);
      if (auto set = fmtpSet(line, "sprop-pps=")) video.pps = std::move(set);
    } else if (line.starts_with("a=fmtp:")) {
      const auto key = line.find("sprop-parameter-sets=");
      if (key == std::string::npos) return;
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
  });
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

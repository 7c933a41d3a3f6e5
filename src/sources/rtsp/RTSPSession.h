#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Text.h"
#include "platform/media/StreamVideoDecoder.h"
#include "sources/rtsp/RTSPMessage.h"

namespace tavorin {

// What a DESCRIBE's SDP says about the stream's video: its codec, where to
// SET it UP, and the parameter sets it announces (each base64 piece that decodes).
struct RTSPVideoDescription {
  StreamVideoFormat::Codec codec = StreamVideoFormat::Codec::h264;
  std::optional<std::string> control;
  std::optional<std::vector<std::uint8_t>> vps;  // H.265 only
  std::optional<std::vector<std::uint8_t>> sps;
  std::optional<std::vector<std::uint8_t>> pps;
};

// Each line of an SDP, trimmed, in order.
template <class Handle>
void forEachSdpLine(std::string_view sdp, Handle&& handle);

// Reads the video sections only; lines of other media are skipped.
RTSPVideoDescription parseVideoDescription(std::string_view sdp);

// The URL to SET UP: the control value against the reply's content base
// (else its content location, else the request URL).
std::string controlURL(const RTSPResponse& describe, const std::string& requestURL,
                       const std::optional<std::string>& control);

// The session id of a SETUP reply: the first non-empty piece of its Session header.
std::optional<std::string> sessionOf(const RTSPResponse& setup);

template <class Handle>
void forEachSdpLine(std::string_view sdp, Handle&& handle) {
  std::size_t at = 0;
  while (at <= sdp.size()) {
    auto end = sdp.find('\n', at);
    if (end == std::string_view::npos) end = sdp.size();
    handle(trimmed(sdp.substr(at, end - at)));
    at = end + 1;
  }
}

}  // namespace tavorin

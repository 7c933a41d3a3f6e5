#include "sources/rtsp/RTSPAudio.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "base/Text.h"
#include "sources/rtsp/RTPPacket.h"
#include "sources/rtsp/RTSPSession.h"

namespace tavorin {

namespace {

std::string lowered(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return char(std::tolower(c)); });
  return out;
}

int number(std::string_view text, int fallback) {
  int value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() ? value : fallback;
}

std::optional<std::vector<std::uint8_t>> hexBytes(std::string_view text) {
  if (text.empty() || text.size() % 2) return std::nullopt;
  std::vector<std::uint8_t> out;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    unsigned value = 0;
    auto [end, error] = std::from_chars(text.data() + i, text.data() + i + 2, value, 16);
    if (error != std::errc() || end != text.data() + i + 2) return std::nullopt;
    out.push_back(static_cast<std::uint8_t>(value));
  }
  return out;
}

// Reads `bits` bits at bit offset `at` of `bytes`, big-endian.
std::uint32_t bitsAt(std::span<const std::uint8_t> bytes, std::size_t at, int bits) {
  std::uint32_t value = 0;
  for (int i = 0; i < bits; ++i, ++at) value = (value << 1) | ((bytes[at / 8] >> (7 - at % 8)) & 1u);
  return value;
}

}  // namespace

std::optional<RTSPAudioDescription> parseAudioDescription(std::string_view sdp) {
  std::optional<RTSPAudioDescription> found;
  RTSPAudioDescription audio;
  bool inAudio = false, aac = false, hasConfig = false;
  auto finish = [&] {
    if (inAudio && aac && hasConfig && audio.clockRate > 0 && !found) found = audio;
    audio = RTSPAudioDescription{};
    aac = hasConfig = false;
  };
  forEachSdpLine(sdp, [&](const std::string& line) {
    if (line.starts_with("m=")) {
      finish();
      inAudio = line.starts_with("m=audio");
      return;
    }
    if (!inAudio) return;
    if (line.starts_with("a=control:")) {
      audio.control = line.substr(10);
    } else if (line.starts_with("a=rtpmap:")) {
      const auto space = line.find(' ');
      if (space == std::string::npos) return;
      const std::string map = line.substr(space + 1);  // MPEG4-GENERIC/48000/2
      const auto slash = map.find('/');
      aac = lowered(map.substr(0, slash)) == "mpeg4-generic";
      if (slash == std::string::npos) return;
      const std::string rest = map.substr(slash + 1);
      const auto second = rest.find('/');
      audio.clockRate = number(rest.substr(0, second), 0);
      if (second != std::string::npos) audio.channels = number(rest.substr(second + 1), 1);
    } else if (line.starts_with("a=fmtp:")) {
      std::string_view parameters = line;
      parameters.remove_prefix(std::min(parameters.size(), parameters.find(' ') + 1));
      while (!parameters.empty()) {
        const auto semicolon = parameters.find(';');
        const std::string piece = trimmed(parameters.substr(0, semicolon));
        parameters = semicolon == std::string_view::npos ? std::string_view() : parameters.substr(semicolon + 1);
        const auto equals = piece.find('=');
        if (equals == std::string::npos) continue;
        const std::string key = lowered(piece.substr(0, equals));
        const std::string value = piece.substr(equals + 1);
        if (key == "config") {
          if (auto bytes = hexBytes(value)) {
            audio.config = std::move(*bytes);
            hasConfig = true;
          }
        } else if (key == "sizelength") {
          audio.sizeLength = number(value, audio.sizeLength);
        } else if (key == "indexlength") {
          audio.indexLength = number(value, audio.indexLength);
        } else if (key == "indexdeltalength") {
          audio.indexDeltaLength = number(value, audio.indexDeltaLength);
        }
      }
    }
  });
  finish();
  return found;
}

void AacDepacketizer::handleRTP(std::span<const std::uint8_t> packet) {
  const auto rtp = rtpPayload(packet);
  if (!rtp || rtp->payload.size() < 2) return;
  const std::uint32_t rtpTime = rtp->timestamp;
  const auto payload = rtp->payload;
  const std::size_t headerBits = (std::size_t(payload[0]) << 8) | payload[1];
  const std::size_t headerBytes = (headerBits + 7) / 8;
  if (2 + headerBytes > payload.size()) return;
  const auto headers = payload.subspan(2, headerBytes);
  std::size_t data = 2 + headerBytes;
  std::size_t bit = 0;
  for (std::uint32_t index = 0; bit < headerBits; ++index) {
    const int indexBits = index == 0 ? description_.indexLength : description_.indexDeltaLength;
    if (description_.sizeLength <= 0 || bit + std::size_t(description_.sizeLength + indexBits) > headerBits) return;
    const std::size_t size = bitsAt(headers, bit, description_.sizeLength);
    bit += std::size_t(description_.sizeLength + indexBits);
    if (size == 0 || data + size > payload.size()) return;
    if (onFrame) onFrame(payload.subspan(data, size), rtpTime + index * 1024);
    data += size;
  }
}

std::optional<RTCPSenderReport> parseSenderReport(std::span<const std::uint8_t> packet) {
  std::size_t at = 0;
  while (at + 4 <= packet.size()) {
    const std::size_t length = 4 * (((std::size_t(packet[at + 2]) << 8) | packet[at + 3]) + 1);
    if ((packet[at] >> 6) != 2 || at + length > packet.size()) return std::nullopt;
    if (packet[at + 1] == 200 && length >= 28) {
      auto word = [&](std::size_t offset) {
        const std::size_t p = at + offset;
        return (std::uint32_t(packet[p]) << 24) | (std::uint32_t(packet[p + 1]) << 16) | (std::uint32_t(packet[p + 2]) << 8) |
               packet[p + 3];
      };
      // NTP counts from 1900; 2 208 988 800 s before the Unix epoch.
      const double seconds = static_cast<double>(word(8)) - 2208988800.0 + word(12) / 4294967296.0;
      return RTCPSenderReport{seconds, word(16)};
    }
    at += length;
  }
  return std::nullopt;
}

void RTPTimeline::senderReport(const RTCPSenderReport& report, double wallMinusHost) {
  if (clockRate_ <= 0) return;
  anchor_ = Anchor{report.rtpTime, report.unixSeconds - wallMinusHost};
}

double RTPTimeline::hostTime(std::uint32_t rtpTime, double arrivedAt) {
  if (clockRate_ <= 0) return arrivedAt;
  if (!anchor_) anchor_ = Anchor{rtpTime, arrivedAt};
  // A signed difference: times just before the anchor, and the wrap of the 32-bit clock.
  const auto ticks = static_cast<std::int32_t>(rtpTime - anchor_->rtpTime);
  return anchor_->hostTime + static_cast<double>(ticks) / clockRate_;
}

}  // namespace tavorin

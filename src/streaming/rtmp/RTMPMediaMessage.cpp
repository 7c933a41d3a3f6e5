#include "streaming/rtmp/RTMPMediaMessage.h"

#include <algorithm>
#include <cmath>

namespace tavorin {

namespace {

constexpr std::uint8_t kKeyFrame = 1;
constexpr std::uint8_t kInterFrame = 2;
constexpr std::uint8_t kAvc = 7;
// Enhanced RTMP: the top bit says a FourCC follows.
constexpr std::uint8_t kExHeader = 0x80;
constexpr std::uint8_t kPacketSequenceStart = 0;
constexpr std::uint8_t kPacketCodedFrames = 1;
constexpr std::uint8_t kAacHeader = 0xAF;

void put24(std::vector<std::uint8_t>& out, std::uint32_t value) {
  out.push_back(static_cast<std::uint8_t>(value >> 16));
  out.push_back(static_cast<std::uint8_t>(value >> 8));
  out.push_back(static_cast<std::uint8_t>(value));
}

void putHvc1(std::vector<std::uint8_t>& out) { out.insert(out.end(), {'h', 'v', 'c', '1'}); }

}  // namespace

std::optional<std::vector<std::uint8_t>> videoSequenceHeader(const VideoFormatDescription& format) {
  const auto& record = format.configurationRecord;
  if (record.empty() || format.codec == VideoCodecKind::proRes422) return std::nullopt;
  std::vector<std::uint8_t> body;
  body.reserve(record.size() + 5);
  if (format.codec == VideoCodecKind::hevc) {
    body.push_back(kExHeader | (kKeyFrame << 4) | kPacketSequenceStart);
    putHvc1(body);
  } else {
    body.push_back((kKeyFrame << 4) | kAvc);
    body.push_back(0);
    put24(body, 0);
  }
  body.insert(body.end(), record.begin(), record.end());
  return body;
}

std::vector<std::uint8_t> videoMessageBody(const EncodedVideoSample& sample) {
  const std::uint8_t frameType = sample.isKeyFrame ? kKeyFrame : kInterFrame;
  const auto composition =
      static_cast<std::uint32_t>(std::max(0.0, std::floor((sample.pts - sample.dts + kCompositionLead) * 1000)));
  std::vector<std::uint8_t> body;
  body.reserve(sample.data.size() + 8);
  if (sample.format && sample.format->codec == VideoCodecKind::hevc) {
    body.push_back(kExHeader | (frameType << 4) | kPacketCodedFrames);
    putHvc1(body);
  } else {
    body.push_back(static_cast<std::uint8_t>((frameType << 4) | kAvc));
    body.push_back(1);
  }
  put24(body, composition);
  body.insert(body.end(), sample.data.begin(), sample.data.end());
  return body;
}

std::optional<std::vector<std::uint8_t>> audioSequenceHeader(const AudioFormatDescription& format) {
  auto config = audioSpecificConfig(format);
  if (!config) return std::nullopt;
  return std::vector<std::uint8_t>{kAacHeader, 0x00, (*config)[0], (*config)[1]};
}

std::vector<std::uint8_t> audioMessageBody(const EncodedAudioSample& sample) {
  std::vector<std::uint8_t> body;
  body.reserve(sample.data.size() + 2);
  body.push_back(kAacHeader);
  body.push_back(0x01);
  body.insert(body.end(), sample.data.begin(), sample.data.end());
  return body;
}

}  // namespace tavorin

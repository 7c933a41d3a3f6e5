// What a camera sends, on hostile bytes: replies and "$"-framed RTP mixed on
// one connection. The first byte seeds where the rest is split into reads;
// however the reads fall, the parser must give what it gives for one read.
// Each reply goes through the SDP, session and control readers, each channel
// 0 payload through the H.264 depacketizer, each channel 2 one through the
// H.265 one, channel 3 through the AAC one (once a reply described AAC),
// channel 1 through the sender-report reader, and the whole input through the
// address parser.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sources/rtsp/H264Depacketizer.h"
#include "sources/rtsp/H265Depacketizer.h"
#include "sources/rtsp/RTSPAudio.h"
#include "sources/rtsp/RTSPMessage.h"
#include "sources/rtsp/RTSPSession.h"
#include "sources/rtsp/RTSPUrl.h"

namespace {

using namespace tavorin;

struct Outcome {
  std::vector<std::string> replies;  // status, headers and body, flattened
  std::vector<std::vector<std::uint8_t>> frames;
  std::vector<std::vector<std::uint8_t>> units;
  friend bool operator==(const Outcome&, const Outcome&) = default;
};

Outcome run(std::span<const std::uint8_t> stream, std::size_t blockSize) {
  Outcome outcome;
  RTSPStreamParser parser;
  H264Depacketizer depacketizer;
  H265Depacketizer h265;
  auto unit = [&](std::vector<std::uint8_t> unit, const StreamVideoDecoder::Configuration&, std::uint32_t) {
    outcome.units.push_back(std::move(unit));
  };
  depacketizer.onAccessUnit = unit;
  h265.onAccessUnit = unit;
  std::optional<AacDepacketizer> aac;
  parser.onResponse = [&](RTSPResponse response) {
    std::string flat = std::to_string(response.status);
    for (const auto& [key, value] : response.headers) flat += "|" + key + "=" + value;
    flat += "|" + response.body;
    outcome.replies.push_back(flat);
    const auto video = parseVideoDescription(response.body);
    depacketizer.setParameterSets(video.sps, video.pps);
    h265.setParameterSets(video.vps, video.sps, video.pps);
    if (auto audio = parseAudioDescription(response.body)) {
      aac.emplace(*audio);
      aac->onFrame = [&](std::span<const std::uint8_t> frame, std::uint32_t) { outcome.units.emplace_back(frame.begin(), frame.end()); };
    }
    (void)controlURL(response, "rtsp://camera/", video.control);
    (void)sessionOf(response);
  };
  parser.onInterleaved = [&](std::uint8_t channel, std::span<const std::uint8_t> payload) {
    outcome.frames.emplace_back(payload.begin(), payload.end());
    outcome.frames.back().push_back(channel);
    if (channel == 0) depacketizer.handleRTP(payload);
    if (channel == 2) h265.handleRTP(payload);
    if (channel == 3 && aac) aac->handleRTP(payload);
    if (channel == 1) (void)parseSenderReport(payload);
  };
  for (std::size_t at = 0; at < stream.size(); at += blockSize) {
    parser.feed(stream.subspan(at, std::min(blockSize, stream.size() - at)));
  }
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::size_t blockSize = 1 + data[0] % 64;
  const std::span<const std::uint8_t> stream(data + 1, size - 1);
  if (run(stream, stream.size() + 1) != run(stream, blockSize)) std::abort();
  (void)parseRTSPUrl(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavorin {

// A camera's AAC sound as its SDP describes it (RTP "MPEG4-GENERIC", the
// high bit-rate mode of RFC 3640): where to SET it UP, its clock, and what
// its decoder and the packets' access-unit headers need.
struct RTSPAudioDescription {
  std::string control;
  int clockRate = 0;
  int channels = 1;
  std::vector<std::uint8_t> config;  // the AudioSpecificConfig
  int sizeLength = 13;
  int indexLength = 3;
  int indexDeltaLength = 3;
};

// The first audio section whose stream is AAC with a config; nothing otherwise.
std::optional<RTSPAudioDescription> parseAudioDescription(std::string_view sdp);

// Splits RTP packets of an RFC 3640 stream into AAC frames, each with its RTP
// time (the packet's, plus 1024 samples per frame before it).
class AacDepacketizer {
 public:
  explicit AacDepacketizer(const RTSPAudioDescription& description) : description_(description) {}
  std::function<void(std::span<const std::uint8_t> frame, std::uint32_t rtpTime)> onFrame;
  void handleRTP(std::span<const std::uint8_t> packet);

 private:
  RTSPAudioDescription description_;
};

// An RTCP sender report: the sender's wall clock (NTP) for one RTP time.
struct RTCPSenderReport {
  double unixSeconds = 0;
  std::uint32_t rtpTime = 0;
};

// The first sender report of a compound RTCP packet; nothing when it has none.
std::optional<RTCPSenderReport> parseSenderReport(std::span<const std::uint8_t> packet);

// One stream's RTP clock in host time: by the sender's reports once one came
// (the sender's wall clock taken as ours, which holds for cameras kept on
// time), else from the first packet's arrival.
class RTPTimeline {
 public:
  explicit RTPTimeline(int clockRate) : clockRate_(clockRate) {}
  void senderReport(const RTCPSenderReport& report, double wallMinusHost);
  // The host time of `rtpTime`, for a packet that arrived at `arrivedAt`.
  double hostTime(std::uint32_t rtpTime, double arrivedAt);
  void reset() { anchor_.reset(); }

 private:
  int clockRate_;
  struct Anchor {
    std::uint32_t rtpTime;
    double hostTime;
  };
  std::optional<Anchor> anchor_;
};

}  // namespace tavorin

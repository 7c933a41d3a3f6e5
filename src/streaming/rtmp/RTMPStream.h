#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/asio/steady_timer.hpp>

#include "base/PixelBuffer.h"
#include "streaming/codec/AudioCodec.h"
#include "streaming/codec/AudioCodecSettings.h"
#include "streaming/codec/VideoCodec.h"
#include "streaming/codec/VideoCodecSettings.h"
#include "streaming/rtmp/AMFValue.h"
#include "streaming/rtmp/RTMPConnection.h"
#include "streaming/rtmp/RTMPConnectionStream.h"
#include "streaming/rtmp/RTMPStreamError.h"
#include "streaming/rtmp/RTMPTimestamp.h"

namespace tavorin {

// The client's NetStream, publishing only: asks the server for a message
// stream, publishes under a key, sends the metadata, encodes raw frames and
// audio and sends them as FLV bodies with delta timestamps. It runs on its
// connection's context; the encoders hand their output over to it there.
class RTMPStream final : public RTMPConnectionStream, public std::enable_shared_from_this<RTMPStream> {
 public:
  enum class ReadyState { idle, publish, publishing };
  enum class HowToPublish { record, append, appendWithGap, live };
  using Completion = std::function<void(RTMPStreamResult)>;

  struct Info {
    std::atomic<std::uint64_t> byteCount{0};
    std::atomic<std::uint64_t> currentBytesPerSecond{0};
    std::uint64_t previousByteCount = 0;
    std::string resourceName;
  };

  // Attaches itself to the connection, and makes its message stream at once
  // when the connection is up.
  static std::shared_ptr<RTMPStream> make(RTMPConnection& connection);
  ~RTMPStream() override;

  // Any thread: the answers come on the connection's context.
  void publish(std::optional<std::string> name, HowToPublish type, Completion done);
  void close(Completion done);

  // Frames waiting for the encoder at most: an encoder that cannot keep up
  // loses frames instead of piling them up.
  static constexpr int kVideoQueueLimit = 15;

  // Raw media, from any thread. Frames go by reference to the encoder's
  // queue; false when the queue was full and the frame is dropped.
  bool append(PixelBufferRef frame, double presentationTime);
  void append(const float* left, const float* right, int frames, double hostTime);
  void setVideoSettings(const VideoCodecSettings& settings);
  void setAudioSettings(const AudioCodecSettings& settings);

  ReadyState readyState() const { return readyState_; }
  std::uint32_t messageStreamId() const override { return id_; }
  std::uint16_t currentFPS() const { return currentFPS_; }
  const Info& info() const { return info_; }
  // Stream events in plain words, on the connection's context.
  std::function<void(const std::string&)> log;

  // From the connection.
  void dispatch(const RTMPMessage& message) override;
  void dispatch(const RTMPUserControlEvent& event) override;
  void dispatch(const NetworkMonitorEvent& event) override;
  void createStream(std::function<void()> done) override;
  void connectionClosing() override;

 private:
  explicit RTMPStream(RTMPConnection& connection);

  void startPublishing(Completion done);
  void statusReceived(const RTMPResponse& response);
  void waitForAnswer(Completion done, std::optional<std::string> expected);
  void finishWait(RTMPStreamResult result);
  void sendMetadata();
  void stopEncoders();
  void appendEncoded(const EncodedVideoSample& sample);
  void appendEncoded(const EncodedAudioSample& sample);
  AMFArray makeMetadata() const;
  void emit(const std::string& line) {
    if (log) log(line);
  }

  RTMPConnection& connection_;
  std::atomic<std::uint32_t> id_{0};
  std::atomic<ReadyState> readyState_{ReadyState::idle};
  std::atomic<std::uint16_t> currentFPS_{0};
  std::uint16_t frameCount_ = 0;
  Info info_;
  HowToPublish howToPublish_ = HowToPublish::live;
  Completion continuation_;
  std::optional<std::string> expectedResponse_;
  boost::asio::steady_timer requestTimer_;
  RTMPTimestamp audioTimestamp_;
  RTMPTimestamp videoTimestamp_;
  std::shared_ptr<const AudioFormatDescription> audioFormat_;
  std::shared_ptr<const VideoFormatDescription> videoFormat_;

  // The outgoing side: both encoders and what they were last given.
  VideoCodec videoCodec_{kVideoQueueLimit};
  AudioCodec audioCodec_;
  std::atomic<bool> hasVideoInput_{false};
  std::atomic<bool> hasAudioInput_{false};
};

}  // namespace tavorin

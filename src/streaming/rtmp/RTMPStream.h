#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/asio/steady_timer.hpp>

#include "platform/media/EncodedAudioSample.h"
#include "platform/media/EncodedVideoSample.h"
#include "streaming/rtmp/AMFValue.h"
#include "streaming/rtmp/RTMPConnection.h"
#include "streaming/rtmp/RTMPConnectionStream.h"
#include "streaming/rtmp/RTMPStreamError.h"
#include "streaming/rtmp/RTMPTimestamp.h"

namespace tavorin {

// What the metadata tells the server about the media to come.
struct RTMPStreamMetadata {
  bool hasVideo = false;
  int width = 0;
  int height = 0;
  VideoCodecKind videoCodec = VideoCodecKind::h264;
  std::int64_t videoBitRate = 0;
  std::optional<double> frameRate;
  bool hasAudio = false;
  std::int64_t audioBitRate = 0;
  int audioSampleRate = 48000;
};

// The client's NetStream, publishing only: asks the server for a message
// stream, publishes under a key, sends the metadata, and sends encoded
// samples as FLV bodies with delta timestamps. It encodes nothing; it runs on
// its connection's context and samples reach it there by reference.
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

  // Encoded media, from any thread; sent in order while publishing.
  void send(EncodedVideoSampleRef sample);
  void send(EncodedAudioSampleRef sample);
  // Set before publish: the metadata goes out as publishing starts.
  void setMetadata(const RTMPStreamMetadata& metadata);
  // Samples that could not go out because their time did not follow the last one.
  int droppedVideoSamples() const { return droppedVideo_; }

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
  void appendEncoded(const EncodedVideoSample& sample);
  void appendEncoded(const EncodedAudioSampleRef& sample);
  void sendAudio(const EncodedAudioSample& sample);
  bool sendQueueFull() const;
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
  // Sound and picture of one publish count from one origin, the first picture
  // sent; the sound that comes before it waits here.
  std::optional<double> origin_;
  // Pictures are dropped to the next key frame while the network is this far behind.
  bool skippingToKeyFrame_ = false;
  std::deque<EncodedAudioSampleRef> audioBeforePicture_;
  std::shared_ptr<const AudioFormatDescription> audioFormat_;
  std::shared_ptr<const VideoFormatDescription> videoFormat_;
  RTMPStreamMetadata metadata_;  // the connection's context
  std::atomic<int> droppedVideo_{0};
};

}  // namespace tavorin

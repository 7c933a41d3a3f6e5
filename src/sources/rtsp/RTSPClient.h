#pragma once

#include <array>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/PixelBuffer.h"
#include "base/PcmFormat.h"
#include "platform/media/StreamAudioDecoder.h"
#include "platform/media/StreamVideoDecoder.h"
#include "sources/rtsp/H264Depacketizer.h"
#include "sources/rtsp/H265Depacketizer.h"
#include "sources/rtsp/RTSPAudio.h"
#include "sources/rtsp/RTSPAuth.h"
#include "sources/rtsp/RTSPMessage.h"
#include "sources/rtsp/RTSPUrl.h"

namespace tavorin {

// Pulls one H.264 or H.265 stream, and its AAC sound when the camera has one,
// from a network camera over a single TCP connection with RTP interleaved on
// it (video on channels 0-1, sound on 2-3): OPTIONS, DESCRIBE, SETUP, PLAY, a keep-alive,
// one answer to a Basic or Digest challenge, and a new connection 4 seconds
// after any failure, for ever until stopped. Everything runs on the client's
// own thread, "Tavorin.RTSP"; pictures come from its decoder's thread.
class RTSPClient {
 public:
  enum class State { idle, connecting, negotiating, playing, waiting };

  struct Options {
    std::string url;
    // Decoded pictures, on the decoder's thread, with when their last packet
    // was read and when they were taken.
    std::function<void(PixelBufferRef, const StreamVideoStamp&)> onFrame;
    // The camera's sound, decoded, on the client's thread; `pts` is the host
    // time its first sample plays with the pictures: its capture time on the
    // camera's clock (RTCP sender reports) plus the pictures' own delay. Unset:
    // the sound is not asked for.
    std::function<void(const PcmFormat& format, const void* const* planes, std::uint32_t frames, double pts)> onAudio;
    // Lines for the show's log, on the client's thread; each failure is said
    // once until the stream plays again.
    std::function<void(const std::string&)> log;
    double reconnectDelay = 4.0;
    double keepAliveInterval = 25.0;
  };

  explicit RTSPClient(Options options);
  ~RTSPClient();
  RTSPClient(const RTSPClient&) = delete;
  RTSPClient& operator=(const RTSPClient&) = delete;

  void start();
  void stop();

  State state() const { return state_.load(); }
  // TCP connections opened since construction.
  int connectionsOpened() const { return connectionsOpened_.load(); }

 private:
  using Completion = std::function<void(const RTSPResponse&)>;
  struct Request {
    std::string method;
    std::string uri;
    std::vector<std::string> extra;
    Completion completion;
  };

  void connect();
  void reconnect();
  void receive(std::uint64_t generation);
  void send(const std::string& method, const std::string& uri, std::vector<std::string> extra, Completion completion);
  void writeNext(std::uint64_t generation);
  void handleResponse(RTSPResponse response);
  void describe();
  void handleAccessUnit(std::vector<std::uint8_t> unit, const StreamVideoDecoder::Configuration& configuration,
                        std::uint32_t rtpTime);
  void setup(const std::string& controlURL, std::optional<std::string> audioControlURL);
  void setupAudio(const std::string& controlURL);
  void handleAudioFrame(std::span<const std::uint8_t> frame, std::uint32_t rtpTime);
  void senderReport(std::span<const std::uint8_t> packet, RTPTimeline& timeline);
  void play();
  void startKeepAlive();
  void fail(const std::string& line);
  void say(const std::string& line);

  const Options options_;
  const RTSPUrl url_;
  boost::asio::io_context io_;
  boost::asio::ip::tcp::resolver resolver_{io_};
  std::optional<boost::asio::ip::tcp::socket> socket_;
  boost::asio::steady_timer reconnectTimer_{io_};
  boost::asio::steady_timer keepAliveTimer_{io_};
  // Each connection's number: handlers of an older one find it changed and do nothing.
  std::uint64_t generation_ = 0;
  bool stopped_ = true;
  int cseq_ = 1;
  std::optional<std::string> sessionID_;
  RTSPAuthorization authorization_;
  bool didRetryAuth_ = false;
  std::deque<Request> pending_;
  std::deque<std::string> writes_;
  std::array<std::uint8_t, 65536> readBuffer_{};
  RTSPStreamParser parser_;
  H264Depacketizer h264_;
  H265Depacketizer h265_;
  // The codec the camera described; its depacketizer gets the packets.
  StreamVideoFormat::Codec codec_ = StreamVideoFormat::Codec::h264;
  // The camera's sound, once it is set up: its packets, its decoder, its clock.
  std::unique_ptr<AacDepacketizer> aac_;
  std::unique_ptr<StreamAudioDecoder> audioDecoder_;
  std::optional<RTSPAudioDescription> audioFormat_;
  RTPTimeline videoClock_{90000};
  RTPTimeline audioClock_{0};
  // Host time of the read being parsed.
  double readAt_ = 0;
  // How long pictures take from being taken to being handed out, smoothed;
  // negative until the first. Written on the decoder's thread.
  std::atomic<double> pictureDelay_{-1};
  std::unique_ptr<StreamVideoDecoder> decoder_;
  std::string lastSaid_;
  std::atomic<State> state_{State::idle};
  std::atomic<int> connectionsOpened_{0};
  std::thread thread_;
};

}  // namespace tavorin

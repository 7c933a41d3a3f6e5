#include "sources/rtsp/RTSPClient.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include "base/HostTime.h"
#include "base/Text.h"
#include "base/ThreadName.h"
#include "sources/rtsp/RTSPSession.h"

namespace tavorin {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

std::chrono::steady_clock::duration seconds(double s) {
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::duration<double>(s));
}

}  // namespace

RTSPClient::RTSPClient(Options options) : options_(std::move(options)), url_(parseRTSPUrl(trimmed(options_.url))) {
  parser_.onResponse = [this](RTSPResponse response) { handleResponse(std::move(response)); };
  parser_.onInterleaved = [this](std::uint8_t channel, std::span<const std::uint8_t> payload) {
    // RTCP on channel 1 is not used.
    switch (channel) {
      case 0:
        if (codec_ == StreamVideoFormat::Codec::h265) {
          h265_.handleRTP(payload);
        } else {
          h264_.handleRTP(payload);
        }
        break;
      case 1:
        senderReport(payload, videoClock_);
        break;
      case 2:
        if (aac_) aac_->handleRTP(payload);
        break;
      case 3:
        senderReport(payload, audioClock_);
        break;
      default:
        break;
    }
  };
  auto unit = [this](std::vector<std::uint8_t> unit, const StreamVideoDecoder::Configuration& configuration,
                     std::uint32_t rtpTime) {
    handleAccessUnit(std::move(unit), configuration, rtpTime);
  };
  h264_.onAccessUnit = unit;
  h265_.onAccessUnit = unit;
  thread_ = std::thread([this] {
    nameThisThread("Tavorin.RTSP");
    auto work = asio::make_work_guard(io_);
    io_.run();
  });
}

RTSPClient::~RTSPClient() {
  stop();
  // The stop runs before the loop ends; the decoder's thread is joined there.
  asio::post(io_, [this] { io_.stop(); });
  thread_.join();
}

void RTSPClient::handleAccessUnit(std::vector<std::uint8_t> unit, const StreamVideoDecoder::Configuration& configuration,
                                  std::uint32_t rtpTime) {
  if (!decoder_) {
    auto frames = [this](PixelBufferRef picture, const StreamVideoStamp& stamp) {
      // The delay the sound is held to, smoothed over a second or so of pictures.
      const double delay = std::max(0.0, hostTimeNow() - stamp.capturedAt);
      const double before = pictureDelay_.load(std::memory_order_relaxed);
      pictureDelay_.store(before < 0 ? delay : before + (delay - before) * 0.05, std::memory_order_relaxed);
      if (options_.onFrame) options_.onFrame(std::move(picture), stamp);
    };
    decoder_ = std::make_unique<StreamVideoDecoder>(std::move(frames), [this](const std::string& error) {
      asio::post(io_, [this, error] { say("RTSP decoder create failed: " + error); });
    });
  }
  decoder_->decode(std::move(unit), configuration, {readAt_, videoClock_.hostTime(rtpTime, readAt_)});
}

void RTSPClient::senderReport(std::span<const std::uint8_t> packet, RTPTimeline& timeline) {
  if (const auto report = parseSenderReport(packet)) {
    timespec wall{};
    clock_gettime(CLOCK_REALTIME, &wall);
    const double unixNow = static_cast<double>(wall.tv_sec) + static_cast<double>(wall.tv_nsec) * 1e-9;
    timeline.senderReport(*report, unixNow - hostTimeNow());
  }
}

void RTSPClient::handleAudioFrame(std::span<const std::uint8_t> frame, std::uint32_t rtpTime) {
  if (!audioDecoder_ || !options_.onAudio) return;
  const double delay = pictureDelay_.load(std::memory_order_relaxed);
  const double pts = audioClock_.hostTime(rtpTime, readAt_) + std::max(delay, 0.0);
  audioDecoder_->decode(frame, [&](const PcmFormat& format, const void* const* planes, std::uint32_t frames) {
    options_.onAudio(format, planes, frames, pts);
  });
}

void RTSPClient::start() {
  asio::post(io_, [this] {
    stopped_ = false;
    connect();
  });
}

void RTSPClient::stop() {
  asio::post(io_, [this] {
    stopped_ = true;
    ++generation_;
    keepAliveTimer_.cancel();
    reconnectTimer_.cancel();
    resolver_.cancel();
    if (socket_) {
      boost::system::error_code ignored;
      socket_->close(ignored);
      socket_.reset();
    }
    decoder_.reset();
    aac_.reset();
    audioDecoder_.reset();
    state_ = State::idle;
  });
}

void RTSPClient::connect() {
  if (stopped_ || url_.host.empty()) return;
  const std::uint64_t generation = ++generation_;
  parser_.clear();
  pending_.clear();
  writes_.clear();
  sessionID_.reset();
  cseq_ = 1;
  didRetryAuth_ = false;
  h264_.resetConnection();
  h265_.resetConnection();
  aac_.reset();
  videoClock_.reset();
  audioClock_.reset();
  state_ = State::connecting;
  resolver_.async_resolve(url_.host, std::to_string(url_.port), [this, generation](auto error, auto endpoints) {
    if (generation != generation_) return;
    if (error) return reconnect();
    socket_.emplace(io_);
    asio::async_connect(*socket_, endpoints, [this, generation](auto connectError, const auto&) {
      if (generation != generation_) return;
      if (connectError) return reconnect();
      ++connectionsOpened_;
      boost::system::error_code ignored;
      socket_->set_option(tcp::no_delay(true), ignored);
      state_ = State::negotiating;
      receive(generation);
      send("OPTIONS", url_.requestURL, {}, [this](const RTSPResponse&) { describe(); });
    });
  });
}

void RTSPClient::reconnect() {
  if (stopped_) return;
  // Whatever still waits on the old connection belongs to an older generation now.
  const std::uint64_t generation = ++generation_;
  keepAliveTimer_.cancel();
  if (socket_) {
    boost::system::error_code ignored;
    socket_->close(ignored);
    socket_.reset();
  }
  state_ = State::waiting;
  reconnectTimer_.expires_after(seconds(options_.reconnectDelay));
  reconnectTimer_.async_wait([this, generation](auto error) {
    if (error || generation != generation_) return;
    connect();
  });
}

void RTSPClient::receive(std::uint64_t generation) {
  socket_->async_read_some(asio::buffer(readBuffer_), [this, generation](auto error, std::size_t size) {
    if (generation != generation_) return;
    readAt_ = hostTimeNow();
    if (size > 0) parser_.feed(std::span<const std::uint8_t>(readBuffer_.data(), size));
    // The parser's handlers may have ended this connection.
    if (generation != generation_) return;
    if (error) return reconnect();
    receive(generation);
  });
}

void RTSPClient::send(const std::string& method, const std::string& uri, std::vector<std::string> extra,
                      Completion completion) {
  const std::optional<std::string> authorization =
      authorization_ ? std::optional<std::string>(authorization_(method, uri)) : std::nullopt;
  writes_.push_back(formatRTSPRequest(method, uri, cseq_, sessionID_, authorization, extra));
  ++cseq_;
  pending_.push_back({method, uri, std::move(extra), std::move(completion)});
  if (writes_.size() == 1 && socket_) writeNext(generation_);
}

void RTSPClient::writeNext(std::uint64_t generation) {
  asio::async_write(*socket_, asio::buffer(writes_.front()), [this, generation](auto error, std::size_t) {
    if (generation != generation_) return;
    if (error) return reconnect();
    writes_.pop_front();
    if (!writes_.empty()) writeNext(generation);
  });
}

void RTSPClient::handleResponse(RTSPResponse response) {
  if (pending_.empty()) return;
  Request request = std::move(pending_.front());
  pending_.pop_front();
  if (response.status == 401 && url_.username && url_.password && !didRetryAuth_) {
    didRetryAuth_ = true;
    if (const auto challenge = response.header("www-authenticate")) {
      authorization_ = makeRTSPAuthorization(*challenge, *url_.username, *url_.password);
      send(request.method, request.uri, std::move(request.extra), std::move(request.completion));
      return;
    }
  }
  if (request.completion) request.completion(response);
}

void RTSPClient::describe() {
  send("DESCRIBE", url_.requestURL, {"Accept: application/sdp"}, [this](const RTSPResponse& response) {
    if (response.status != 200 || !isValidUtf8(response.body)) {
      return fail("RTSP DESCRIBE failed (" + std::to_string(response.status) + ") for " + url_.host);
    }
    const auto video = parseVideoDescription(response.body);
    codec_ = video.codec;
    if (codec_ == StreamVideoFormat::Codec::h265) {
      h265_.setParameterSets(video.vps, video.sps, video.pps);
    } else {
      h264_.setParameterSets(video.sps, video.pps);
    }
    std::optional<std::string> audioControl;
    audioFormat_ = options_.onAudio ? parseAudioDescription(response.body) : std::nullopt;
    if (audioFormat_) audioControl = controlURL(response, url_.requestURL, audioFormat_->control);
    setup(controlURL(response, url_.requestURL, video.control), audioControl);
  });
}

void RTSPClient::setup(const std::string& control, std::optional<std::string> audioControl) {
  send("SETUP", control, {"Transport: RTP/AVP/TCP;unicast;interleaved=0-1"},
       [this, audioControl](const RTSPResponse& response) {
         if (response.status != 200) {
           return fail("RTSP SETUP failed (" + std::to_string(response.status) + ") for " + url_.host);
         }
         sessionID_ = sessionOf(response);
         if (audioControl) return setupAudio(*audioControl);
         play();
       });
}

void RTSPClient::setupAudio(const std::string& control) {
  send("SETUP", control, {"Transport: RTP/AVP/TCP;unicast;interleaved=2-3"}, [this](const RTSPResponse& response) {
    // A camera that will not send its sound still shows its pictures.
    if (response.status == 200 && audioFormat_) {
      std::string error;
      if (!audioDecoder_) {
        audioDecoder_ = StreamAudioDecoder::open(audioFormat_->config, audioFormat_->clockRate, audioFormat_->channels, error);
      }
      if (audioDecoder_) {
        aac_ = std::make_unique<AacDepacketizer>(*audioFormat_);
        aac_->onFrame = [this](std::span<const std::uint8_t> frame, std::uint32_t rtpTime) { handleAudioFrame(frame, rtpTime); };
        audioClock_ = RTPTimeline(audioFormat_->clockRate);
      } else {
        say("RTSP audio decoder failed: " + error);
      }
    }
    play();
  });
}

void RTSPClient::play() {
  send("PLAY", url_.requestURL, {"Range: npt=0.000-"}, [this](const RTSPResponse& response) {
    if (response.status != 200) {
      return fail("RTSP PLAY failed (" + std::to_string(response.status) + ") for " + url_.host);
    }
    state_ = State::playing;
    lastSaid_.clear();
    startKeepAlive();
  });
}

void RTSPClient::startKeepAlive() {
  const std::uint64_t generation = generation_;
  keepAliveTimer_.expires_after(seconds(options_.keepAliveInterval));
  keepAliveTimer_.async_wait([this, generation](auto error) {
    if (error || generation != generation_) return;
    send("GET_PARAMETER", url_.requestURL, {}, {});
    startKeepAlive();
  });
}

void RTSPClient::fail(const std::string& line) {
  say(line);
  reconnect();
}

void RTSPClient::say(const std::string& line) {
  // A camera that refuses every 4 seconds is said once, not every time.
  if (line == lastSaid_) return;
  lastSaid_ = line;
  if (options_.log) options_.log(line);
}

}  // namespace tavorin

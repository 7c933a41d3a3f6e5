#include "streaming/codec/VideoEncoderSession.h"

#include <algorithm>
#include <cmath>

#include "streaming/codec/AvcConfiguration.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace tavorin {

namespace {

using Key = VTSessionOptionKey;
constexpr AVRational kTimeBase{1, 1'000'000};

template <class T>
const T* option(const VTSessionOptions& options, Key key) {
  const auto found = options.find(key);
  return found == options.end() ? nullptr : std::get_if<T>(&found->second);
}

struct Rate {
  Key mode = Key::averageBitRate;
  std::int64_t bitRate = 0;
  const std::vector<double>* limits = nullptr;
};

Rate rateOf(const VTSessionOptions& options) {
  for (Key key : {Key::averageBitRate, Key::constantBitRate, Key::variableBitRate}) {
    if (const auto* value = option<std::int64_t>(options, key)) {
      return {key, *value, option<std::vector<double>>(options, Key::dataRateLimits)};
    }
  }
  return {};
}

void applyRate(AVCodecContext* context, const Rate& rate) {
  context->bit_rate = rate.bitRate;
  context->rc_min_rate = 0;
  context->rc_max_rate = 0;
  context->rc_buffer_size = 0;
  if (rate.mode == Key::constantBitRate) {
    context->rc_min_rate = rate.bitRate;
    context->rc_max_rate = rate.bitRate;
    context->rc_buffer_size = static_cast<int>(std::min<std::int64_t>(rate.bitRate, INT32_MAX));
  } else if (rate.mode == Key::averageBitRate && rate.limits) {
    // The limits are bytes per window: at most that many bytes in any window.
    const double bits = (*rate.limits)[0] * 8;
    const double window = (*rate.limits)[1];
    context->rc_max_rate = static_cast<std::int64_t>(std::llround(bits / window));
    context->rc_buffer_size = static_cast<int>(std::min<double>(bits, INT32_MAX));
  }
}

// "H264_High_3_1" → {"high", "3.1"}; "AutoLevel" leaves the level to the encoder.
std::pair<std::string, std::string> profileAndLevel(const std::string& name) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  for (std::size_t at; (at = name.find('_', start)) != std::string::npos; start = at + 1) {
    parts.push_back(name.substr(start, at - start));
  }
  parts.push_back(name.substr(start));
  std::string profile;
  if (parts.size() > 1) {
    if (parts[1] == "Baseline" || parts[1] == "ConstrainedBaseline") profile = "baseline";
    if (parts[1] == "Main") profile = "main";
    if (parts[1] == "High" || parts[1] == "ConstrainedHigh") profile = "high";
  }
  std::string level;
  if (parts.size() == 4) level = parts[2] + "." + parts[3];
  if (parts.size() == 3 && parts[2] != "AutoLevel") level = parts[2];
  return {profile, level};
}

ffmpeg::CodecContextPtr openEncoder(const char* name, const VideoEncoderSession::Config& config) {
  const AVCodec* encoder = avcodec_find_encoder_by_name(name);
  if (!encoder) return nullptr;
  ffmpeg::CodecContextPtr context(avcodec_alloc_context3(encoder));
  if (!context) return nullptr;
  const auto& options = config.options;
  const bool x264 = std::string_view(name) == "libx264";
  const double frameRate = config.frameRate > 0 ? config.frameRate : 30;
  context->width = config.size.width;
  context->height = config.size.height;
  context->pix_fmt = AV_PIX_FMT_YUV420P;
  context->time_base = kTimeBase;
  context->framerate = av_d2q(frameRate, 1001000);
  context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  applyRate(context.get(), rateOf(options));

  const auto* keyInterval = option<std::int64_t>(options, Key::maxKeyFrameIntervalDuration);
  const double seconds = keyInterval && *keyInterval > 0 ? static_cast<double>(*keyInterval) : 2.0;
  context->gop_size = std::max(1, static_cast<int>(std::lround(seconds * frameRate)));
  context->keyint_min = context->gop_size;
  const auto* reorder = option<bool>(options, Key::allowFrameReordering);
  // Low-latency rate control sends each frame as it comes, so nothing is reordered.
  context->max_b_frames = reorder && *reorder && !config.lowLatency ? 2 : 0;

  void* priv = context->priv_data;
  const auto* realTime = option<bool>(options, Key::realTime);
  const auto* profileLevel = option<std::string>(options, Key::profileLevel);
  const auto [profile, level] = profileAndLevel(profileLevel ? *profileLevel : std::string());
  if (!profile.empty()) av_opt_set(priv, "profile", profile.c_str(), 0);
  if (!level.empty()) av_opt_set(priv, "level", level.c_str(), 0);
  const bool cabac = option<std::string>(options, Key::h264EntropyMode) != nullptr;
  av_opt_set(priv, "coder", cabac ? "cabac" : "cavlc", 0);
  if (x264) {
    av_opt_set(priv, "preset", realTime && *realTime ? "veryfast" : "medium", 0);
    // Key frames come exactly on the interval, never early on a scene cut.
    av_opt_set(priv, "x264-params", "scenecut=0", 0);
    if (config.lowLatency) av_opt_set(priv, "tune", "zerolatency", 0);
    if (rateOf(options).mode == Key::constantBitRate) av_opt_set(priv, "nal-hrd", "cbr", 0);
  } else {
    av_opt_set(priv, "preset", "p4", 0);
    av_opt_set(priv, "tune", config.lowLatency ? "ull" : "ll", 0);
    av_opt_set(priv, "rc", rateOf(options).mode == Key::constantBitRate ? "cbr" : "vbr", 0);
  }
  // A hardware encoder that is not there is an expected answer, not an error to print.
  const int logLevel = av_log_get_level();
  if (!x264) av_log_set_level(AV_LOG_QUIET);
  const int opened = avcodec_open2(context.get(), encoder, nullptr);
  if (!x264) av_log_set_level(logLevel);
  if (opened < 0) return nullptr;
  return context;
}

}  // namespace

std::unique_ptr<VideoEncoderSession> VideoEncoderSession::make(const Config& config, std::string& error) {
  if (config.format == VideoCodecSettings::Format::hevc) {
    error = "HEVC encoding is not available";
    return nullptr;
  }
  if (config.size.width <= 0 || config.size.height <= 0 || config.size.width % 2 || config.size.height % 2) {
    error = "video size " + std::to_string(config.size.width) + "x" + std::to_string(config.size.height) +
            " is not a positive even size";
    return nullptr;
  }
  std::vector<const char*> candidates;
  if (config.options.count(Key::encoderID)) candidates.push_back("h264_nvenc");
  // Without a working hardware encoder the stream still goes on in software.
  candidates.push_back("libx264");
  std::unique_ptr<VideoEncoderSession> session(new VideoEncoderSession);
  for (const char* name : candidates) {
    session->context_ = openEncoder(name, config);
    if (session->context_) {
      session->encoderName_ = name;
      break;
    }
  }
  if (!session->context_) {
    error = "no H.264 encoder could be opened";
    return nullptr;
  }
  const AVCodecContext* context = session->context_.get();
  auto record = avc::makeDecoderConfigurationRecord(
      std::span<const std::uint8_t>(context->extradata, static_cast<std::size_t>(context->extradata_size)));
  if (!record) {
    error = session->encoderName_ + " gave no parameter sets";
    return nullptr;
  }
  session->format_ = std::make_shared<const VideoFormatDescription>(
      VideoFormatDescription{config.format, context->width, context->height, std::move(*record)});
  session->scalingMode_ = config.scalingMode;
  session->frame_.reset(av_frame_alloc());
  session->packet_.reset(av_packet_alloc());
  if (!session->frame_ || !session->packet_) {
    error = "out of memory for encoder frames";
    return nullptr;
  }
  session->frame_->format = context->pix_fmt;
  session->frame_->width = context->width;
  session->frame_->height = context->height;
  if (av_frame_get_buffer(session->frame_.get(), 0) < 0) {
    error = "out of memory for encoder frames";
    return nullptr;
  }
  return session;
}

VideoEncoderSession::~VideoEncoderSession() = default;

bool VideoEncoderSession::updateBitRate(const VTSessionOptions& options) {
  // FFmpeg's libx264 wrapper reconfigures x264 when these fields change
  // between frames; the other encoders only read them when opening.
  if (encoderName_ != "libx264") return false;
  applyRate(context_.get(), rateOf(options));
  return true;
}

bool VideoEncoderSession::convert(const PixelBuffer& source) {
  using Mode = VideoCodecSettings::ScalingMode;
  AVFrame* frame = frame_.get();
  if (av_frame_make_writable(frame) < 0) return false;
  const int dstW = frame->width, dstH = frame->height;
  int srcX = 0, srcY = 0, srcW = source.width(), srcH = source.height();
  int outX = 0, outY = 0, outW = dstW, outH = dstH;
  const double srcAspect = static_cast<double>(srcW) / srcH;
  const double dstAspect = static_cast<double>(dstW) / dstH;
  if (scalingMode_ == Mode::trim) {
    // Fill the frame and cut the overhang evenly from both sides.
    if (srcAspect > dstAspect) {
      const int cropW = std::max(1, static_cast<int>(std::lround(srcH * dstAspect)));
      srcX = (srcW - cropW) / 2;
      srcW = cropW;
    } else if (srcAspect < dstAspect) {
      const int cropH = std::max(1, static_cast<int>(std::lround(srcW / dstAspect)));
      srcY = (srcH - cropH) / 2;
      srcH = cropH;
    }
  } else if (scalingMode_ == Mode::letterbox) {
    // Fit inside the frame on black; chroma is half size, so keep offsets even.
    if (srcAspect > dstAspect) {
      outH = std::max(2, static_cast<int>(std::lround(dstW / srcAspect)) & ~1);
      outY = ((dstH - outH) / 2) & ~1;
    } else if (srcAspect < dstAspect) {
      outW = std::max(2, static_cast<int>(std::lround(dstH * srcAspect)) & ~1);
      outX = ((dstW - outW) / 2) & ~1;
    }
    if (outW != dstW || outH != dstH) {
      for (int y = 0; y < dstH; ++y) std::fill_n(frame->data[0] + y * frame->linesize[0], dstW, 16);
      for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < dstH / 2; ++y) std::fill_n(frame->data[plane] + y * frame->linesize[plane], dstW / 2, 128);
      }
    }
  }
  // Our pixel buffers carry no clean aperture, so cropping to it is plain scaling.
  if (!scaler_ || scalerSourceWidth_ != srcW || scalerSourceHeight_ != srcH) {
    scaler_.reset(sws_getContext(srcW, srcH, AV_PIX_FMT_BGRA, outW, outH, AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr,
                                 nullptr, nullptr));
    scalerSourceWidth_ = srcW;
    scalerSourceHeight_ = srcH;
    if (!scaler_) return false;
  }
  const std::uint8_t* input[] = {source.data() + static_cast<std::size_t>(srcY) * source.bytesPerRow() +
                                 static_cast<std::size_t>(srcX) * 4};
  const int inputStride[] = {static_cast<int>(source.bytesPerRow())};
  std::uint8_t* output[] = {frame->data[0] + outY * frame->linesize[0] + outX,
                            frame->data[1] + (outY / 2) * frame->linesize[1] + outX / 2,
                            frame->data[2] + (outY / 2) * frame->linesize[2] + outX / 2};
  sws_scale(scaler_.get(), input, inputStride, 0, srcH, output, frame->linesize);
  return true;
}

bool VideoEncoderSession::encode(const PixelBuffer& source, double pts, std::vector<EncodedVideoSample>& out,
                                 std::string& error) {
  if (!convert(source)) {
    error = "can't convert a " + std::to_string(source.width()) + "x" + std::to_string(source.height()) + " frame";
    return false;
  }
  frame_->pts = std::llround(pts * kTimeBase.den);
  if (const int code = avcodec_send_frame(context_.get(), frame_.get()); code < 0) {
    error = encoderName_ + ": " + ffmpeg::errorText(code);
    return false;
  }
  for (;;) {
    const int code = avcodec_receive_packet(context_.get(), packet_.get());
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return true;
    if (code < 0) {
      error = encoderName_ + ": " + ffmpeg::errorText(code);
      return false;
    }
    const AVPacket* packet = packet_.get();
    EncodedVideoSample sample;
    sample.data = avc::annexBToLengthPrefixed(
        std::span<const std::uint8_t>(packet->data, static_cast<std::size_t>(packet->size)));
    sample.pts = static_cast<double>(packet->pts) / kTimeBase.den;
    if (packet->dts != AV_NOPTS_VALUE) sample.dts = static_cast<double>(packet->dts) / kTimeBase.den;
    sample.isKeyFrame = (packet->flags & AV_PKT_FLAG_KEY) != 0;
    sample.format = format_;
    av_packet_unref(packet_.get());
    if (!sample.data.empty()) out.push_back(std::move(sample));
  }
}

}  // namespace tavorin

#include "platform/media/VideoEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/media/AvcConfiguration.h"
#include "platform/media/CodecConfiguration.h"

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/hwcontext_drm.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace tavorin {

namespace {

// Host seconds to the encoder's ticks: microseconds keep every frame time apart.
constexpr AVRational kTimeBase{1, 1'000'000};

bool isVaapi(std::string_view name) { return name.ends_with("_vaapi"); }
bool isNvenc(std::string_view name) { return name.ends_with("_nvenc"); }

void applyRate(AVCodecContext* context, const VideoEncoding& encoding) {
  context->bit_rate = encoding.bitRate;
  context->rc_min_rate = 0;
  context->rc_max_rate = encoding.maxBitRate.value_or(0);
  context->rc_buffer_size = static_cast<int>(std::min<std::int64_t>(encoding.bufferBits.value_or(0), INT32_MAX));
  if (encoding.rateControl == RateControl::constant) {
    context->rc_min_rate = encoding.bitRate;
    context->rc_max_rate = encoding.bitRate;
    context->rc_buffer_size = static_cast<int>(std::min<std::int64_t>(encoding.bitRate, INT32_MAX));
  } else if (encoding.rateControl == RateControl::variable && !encoding.maxBitRate) {
    // Variable rate may rise half as high again on busy pictures.
    context->rc_max_rate = encoding.bitRate * 3 / 2;
    context->rc_buffer_size = static_cast<int>(std::min<std::int64_t>(context->rc_max_rate, INT32_MAX));
  }
}

const char* profileName(VideoProfile profile) {
  switch (profile) {
    case VideoProfile::baseline:
      return "baseline";
    case VideoProfile::main:
      return "main";
    case VideoProfile::high:
      return "high";
  }
  return "high";
}

ffmpeg::CodecContextPtr openEncoder(const std::string& name, const VideoEncoding& encoding, AVBufferRef* frames) {
  const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
  if (!codec) return nullptr;
  ffmpeg::CodecContextPtr context(avcodec_alloc_context3(codec));
  if (!context) return nullptr;
  const double frameRate = encoding.frameRate > 0 ? encoding.frameRate : 30;
  context->width = encoding.width;
  context->height = encoding.height;
  context->time_base = kTimeBase;
  context->framerate = av_d2q(frameRate, 1001000);
  context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  // What the conversions make, the GPU's and swscale's alike; players read it from the stream.
  context->colorspace = AVCOL_SPC_BT709;
  context->color_primaries = AVCOL_PRI_BT709;
  context->color_trc = AVCOL_TRC_BT709;
  context->color_range = AVCOL_RANGE_MPEG;
  void* priv = context->priv_data;
  if (encoding.codec == VideoCodecKind::proRes422) {
    context->pix_fmt = AV_PIX_FMT_YUV422P10LE;
    av_opt_set(priv, "profile", "standard", 0);
  } else {
    context->pix_fmt = frames ? AV_PIX_FMT_VAAPI : AV_PIX_FMT_YUV420P;
    if (frames) context->hw_frames_ctx = av_buffer_ref(frames);
    applyRate(context.get(), encoding);
    // Key frames are forced by time (sendFrame): a clock that loses or repeats
    // frames would stretch a count of frames. The encoder's own interval, at
    // twice that, only backs it up.
    const double seconds = encoding.keyFrameIntervalSeconds > 0 ? encoding.keyFrameIntervalSeconds : 2.0;
    context->gop_size = std::max(1, static_cast<int>(std::lround(2 * seconds * frameRate)));
    context->max_b_frames = encoding.lowLatency ? 0 : std::max(0, encoding.bFrames);
    if (encoding.codec == VideoCodecKind::h264) {
      av_opt_set(priv, "profile", profileName(encoding.profile), 0);
      if (encoding.level) {
        const std::string level = std::to_string(*encoding.level / 10) + "." + std::to_string(*encoding.level % 10);
        av_opt_set(priv, "level", level.c_str(), 0);
      }
      av_opt_set(priv, "coder", encoding.cabac && encoding.profile != VideoProfile::baseline ? "cabac" : "cavlc", 0);
    }
    if (name == "libx264") {
      context->keyint_min = context->gop_size;
      // Above 1080p a frame costs twice and more: the lighter preset keeps it real-time.
      av_opt_set(priv, "preset", encoding.width * encoding.height > 1920 * 1080 ? "superfast" : "veryfast", 0);
      // Key frames on the interval, never early on a scene cut; forced ones are IDRs a receiver can start on.
      av_opt_set(priv, "x264-params", "scenecut=0", 0);
      av_opt_set_int(priv, "forced-idr", 1, 0);
      if (encoding.lowLatency) av_opt_set(priv, "tune", "zerolatency", 0);
      if (encoding.rateControl == RateControl::constant) av_opt_set(priv, "nal-hrd", "cbr", 0);
    } else if (isNvenc(name)) {
      av_opt_set(priv, "preset", "p4", 0);
      av_opt_set(priv, "tune", encoding.lowLatency ? "ull" : "ll", 0);
      av_opt_set(priv, "rc", encoding.rateControl == RateControl::constant ? "cbr" : "vbr", 0);
      av_opt_set_int(priv, "forced-idr", 1, 0);
    } else if (isVaapi(name)) {
      av_opt_set(priv, "rc_mode", encoding.rateControl == RateControl::constant ? "CBR" : "VBR", 0);
    }
  }
  // A hardware encoder that does not open is an expected answer, not an error to print.
  const bool hardware = isNvenc(name) || isVaapi(name);
  const int logLevel = av_log_get_level();
  if (hardware) av_log_set_level(AV_LOG_QUIET);
  const int opened = avcodec_open2(context.get(), codec, nullptr);
  if (hardware) av_log_set_level(logLevel);
  if (opened < 0) return nullptr;
  return context;
}

// The VAAPI surfaces an encoder draws its input from.
ffmpeg::BufferRefPtr vaapiFrames(const std::string& renderNode, int width, int height) {
  AVBufferRef* device = nullptr;
  if (av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, renderNode.c_str(), nullptr, 0) < 0) return nullptr;
  ffmpeg::BufferRefPtr owned(device);
  ffmpeg::BufferRefPtr frames(av_hwframe_ctx_alloc(device));
  if (!frames) return nullptr;
  auto* setup = reinterpret_cast<AVHWFramesContext*>(frames->data);
  setup->format = AV_PIX_FMT_VAAPI;
  setup->sw_format = AV_PIX_FMT_NV12;
  setup->width = width;
  setup->height = height;
  setup->initial_pool_size = 8;
  if (av_hwframe_ctx_init(frames.get()) < 0) return nullptr;
  return frames;
}

}  // namespace

std::unique_ptr<VideoEncoder> VideoEncoder::open(const VideoEncoding& encoding, const HardwareEncoders& hardware,
                                                 EncoderError& error) {
  if (encoding.width <= 0 || encoding.height <= 0 || encoding.width % 2 || encoding.height % 2) {
    error = EncoderError::invalidSize;
    return nullptr;
  }
  std::unique_ptr<VideoEncoder> encoder(new VideoEncoder);
  encoder->encoding_ = encoding;
  for (const auto& name : hardware.candidates(encoding.codec, encoding.preferHardware)) {
    ffmpeg::BufferRefPtr frames;
    if (isVaapi(name)) {
      frames = vaapiFrames(hardware.renderNode, encoding.width, encoding.height);
      if (!frames) continue;
    }
    encoder->context_ = openEncoder(name, encoding, frames.get());
    if (!encoder->context_) continue;
    encoder->encoderName_ = name;
    encoder->hardware_ = isVaapi(name) || isNvenc(name);
    encoder->hardwareFrames_ = std::move(frames);
    break;
  }
  if (!encoder->context_) {
    error = EncoderError::noEncoder;
    return nullptr;
  }
  const AVCodecContext* context = encoder->context_.get();
  const std::span<const std::uint8_t> extradata(context->extradata, static_cast<std::size_t>(context->extradata_size));
  VideoFormatDescription format;
  format.codec = context->codec_id == AV_CODEC_ID_HEVC   ? VideoCodecKind::hevc
                 : context->codec_id == AV_CODEC_ID_H264 ? VideoCodecKind::h264
                                                         : VideoCodecKind::proRes422;
  format.width = context->width;
  format.height = context->height;
  if (format.codec == VideoCodecKind::h264) {
    auto record = avc::makeDecoderConfigurationRecord(extradata);
    if (!record) {
      error = EncoderError::noParameterSets;
      return nullptr;
    }
    format.configurationRecord = std::move(*record);
  } else if (format.codec == VideoCodecKind::hevc) {
    auto record = hevcConfigurationRecord(extradata, context->width, context->height);
    if (!record) {
      error = EncoderError::noParameterSets;
      return nullptr;
    }
    format.configurationRecord = std::move(*record);
  }
  encoder->format_ = std::make_shared<const VideoFormatDescription>(std::move(format));
  encoder->frame_.reset(av_frame_alloc());
  encoder->packet_.reset(av_packet_alloc());
  if (encoder->hardwareFrames_) encoder->hardwareFrame_.reset(av_frame_alloc());
  if (!encoder->frame_ || !encoder->packet_ || (encoder->hardwareFrames_ && !encoder->hardwareFrame_)) {
    error = EncoderError::outOfMemory;
    return nullptr;
  }
  AVFrame* frame = encoder->frame_.get();
  frame->format = encoder->hardwareFrames_ ? AV_PIX_FMT_NV12 : context->pix_fmt;
  frame->width = context->width;
  frame->height = context->height;
  if (av_frame_get_buffer(frame, 0) < 0) {
    error = EncoderError::outOfMemory;
    return nullptr;
  }
  error = EncoderError::none;
  return encoder;
}

VideoEncoder::~VideoEncoder() = default;

bool VideoEncoder::convert(const PixelBuffer& source) {
  AVFrame* frame = frame_.get();
  if (av_frame_make_writable(frame) < 0) return false;
  const auto format = static_cast<AVPixelFormat>(frame->format);
  const int dstW = frame->width, dstH = frame->height;
  int srcX = 0, srcY = 0, srcW = source.width(), srcH = source.height();
  int outX = 0, outY = 0, outW = dstW, outH = dstH;
  const double srcAspect = static_cast<double>(srcW) / srcH;
  const double dstAspect = static_cast<double>(dstW) / dstH;
  if (encoding_.fit == FrameFit::trim) {
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
  } else if (encoding_.fit == FrameFit::letterbox && format != AV_PIX_FMT_YUV422P10LE) {
    // Fit inside the frame on black; chroma is half size, so offsets stay even.
    if (srcAspect > dstAspect) {
      outH = std::max(2, static_cast<int>(std::lround(dstW / srcAspect)) & ~1);
      outY = ((dstH - outH) / 2) & ~1;
    } else if (srcAspect < dstAspect) {
      outW = std::max(2, static_cast<int>(std::lround(dstH * srcAspect)) & ~1);
      outX = ((dstW - outW) / 2) & ~1;
    }
    if (outW != dstW || outH != dstH) {
      for (int y = 0; y < dstH; ++y) std::memset(frame->data[0] + y * frame->linesize[0], 16, dstW);
      if (format == AV_PIX_FMT_NV12) {
        for (int y = 0; y < dstH / 2; ++y) std::memset(frame->data[1] + y * frame->linesize[1], 128, dstW);
      } else {
        for (int plane = 1; plane < 3; ++plane) {
          for (int y = 0; y < dstH / 2; ++y) std::memset(frame->data[plane] + y * frame->linesize[plane], 128, dstW / 2);
        }
      }
    }
  }
  if (!scaler_ || scalerSourceWidth_ != srcW || scalerSourceHeight_ != srcH) {
    scaler_.reset(sws_getContext(srcW, srcH, AV_PIX_FMT_BGRA, outW, outH, format, SWS_BILINEAR, nullptr, nullptr,
                                 nullptr));
    scalerSourceWidth_ = srcW;
    scalerSourceHeight_ = srcH;
    if (!scaler_) return false;
    // Encoders are told BT.709 limited range; the conversion must make just that.
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU709);
    sws_setColorspaceDetails(scaler_.get(), coefficients, 1, coefficients, 0, 0, 1 << 16, 1 << 16);
  }
  const std::uint8_t* input[] = {source.data() + static_cast<std::size_t>(srcY) * source.bytesPerRow() +
                                 static_cast<std::size_t>(srcX) * 4};
  const int inputStride[] = {static_cast<int>(source.bytesPerRow())};
  std::uint8_t* output[4] = {};
  const AVPixFmtDescriptor* layout = av_pix_fmt_desc_get(format);
  for (int plane = 0; plane < 4 && frame->data[plane]; ++plane) {
    const bool chroma = plane > 0;
    const int x = chroma ? (outX >> layout->log2_chroma_w) : outX;
    const int y = chroma ? (outY >> layout->log2_chroma_h) : outY;
    const int step = layout->comp[plane].step;
    output[plane] = frame->data[plane] + y * frame->linesize[plane] + x * std::max(step, 1);
  }
  sws_scale(scaler_.get(), input, inputStride, 0, srcH, output, frame->linesize);
  return true;
}

EncoderError VideoEncoder::send(const PixelBuffer& source, double hostTime, bool forceKeyFrame) {
  if (!source.valid() || !convert(source)) return EncoderError::conversionFailed;
  if (hardwareFrames_) return upload(frame_.get(), hostTime, forceKeyFrame);
  return sendFrame(frame_.get(), hostTime, forceKeyFrame);
}

EncoderError VideoEncoder::send(const Nv12Frame& picture, double hostTime, bool forceKeyFrame) {
  if (!picture.valid() || !takesNv12(picture.width(), picture.height())) return EncoderError::conversionFailed;
  if (!nv12View_) nv12View_.reset(av_frame_alloc());
  if (!nv12View_) return EncoderError::outOfMemory;
  // The planes are only read by the upload: borrowed, not copied.
  AVFrame* view = nv12View_.get();
  view->format = AV_PIX_FMT_NV12;
  view->width = picture.width();
  view->height = picture.height();
  view->data[0] = const_cast<std::uint8_t*>(picture.lumaRow(0));
  view->linesize[0] = static_cast<int>(picture.lumaStride());
  view->data[1] = const_cast<std::uint8_t*>(picture.chromaRow(0));
  view->linesize[1] = static_cast<int>(picture.chromaStride());
  return upload(view, hostTime, forceKeyFrame);
}

EncoderError VideoEncoder::upload(AVFrame* input, double hostTime, bool forceKeyFrame) {
  AVFrame* surface = hardwareFrame_.get();
  av_frame_unref(surface);
  if (av_hwframe_get_buffer(hardwareFrames_.get(), surface, 0) < 0 ||
      av_hwframe_transfer_data(surface, input, 0) < 0) {
    return EncoderError::conversionFailed;
  }
  return sendFrame(surface, hostTime, forceKeyFrame);
}

EncoderError VideoEncoder::sendFrame(AVFrame* input, double hostTime, bool forceKeyFrame) {
  input->pts = std::llround(hostTime * kTimeBase.den);
  if (encoding_.codec != VideoCodecKind::proRes422) {
    // A quarter frame early still counts, so a steady clock lands each key
    // frame on the interval itself rather than one frame after it.
    const double interval = encoding_.keyFrameIntervalSeconds > 0 ? encoding_.keyFrameIntervalSeconds : 2.0;
    const double slack = 0.25 / (encoding_.frameRate > 0 ? encoding_.frameRate : 30);
    if (!lastKeyFrameTime_ || hostTime - *lastKeyFrameTime_ >= interval - slack) forceKeyFrame = true;
  }
  input->pict_type = forceKeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
  if (avcodec_send_frame(context_.get(), input) < 0) return EncoderError::encodeFailed;
  if (forceKeyFrame) lastKeyFrameTime_ = hostTime;
  return EncoderError::none;
}

std::optional<Nv12DmaBuf> VideoEncoder::acquireSurface() {
  if (!hardwareFrames_) return std::nullopt;
  ExportedSurface exported{ffmpeg::FramePtr(av_frame_alloc()), ffmpeg::FramePtr(av_frame_alloc())};
  if (!exported.surface || !exported.mapping ||
      av_hwframe_get_buffer(hardwareFrames_.get(), exported.surface.get(), 0) < 0) {
    return std::nullopt;
  }
  exported.mapping->format = AV_PIX_FMT_DRM_PRIME;
  if (av_hwframe_map(exported.mapping.get(), exported.surface.get(),
                     AV_HWFRAME_MAP_WRITE | AV_HWFRAME_MAP_OVERWRITE) < 0) {
    return std::nullopt;
  }
  const auto* drm = reinterpret_cast<const AVDRMFrameDescriptor*>(exported.mapping->data[0]);
  // The luma and the chroma plane, whether exported as two layers or as one NV12 layer of two planes.
  const AVDRMPlaneDescriptor* planes[2] = {};
  if (drm->nb_layers >= 2 && drm->layers[0].nb_planes >= 1 && drm->layers[1].nb_planes >= 1) {
    planes[0] = &drm->layers[0].planes[0];
    planes[1] = &drm->layers[1].planes[0];
  } else if (drm->nb_layers == 1 && drm->layers[0].nb_planes >= 2) {
    planes[0] = &drm->layers[0].planes[0];
    planes[1] = &drm->layers[0].planes[1];
  } else {
    return std::nullopt;
  }
  auto describe = [&](const AVDRMPlaneDescriptor& plane, std::uint32_t fourcc, int width, int height) {
    const AVDRMObjectDescriptor& object = drm->objects[plane.object_index];
    DmaBufPlane made;
    made.fd = object.fd;
    made.offset = static_cast<std::uint32_t>(plane.offset);
    made.pitch = static_cast<std::uint32_t>(plane.pitch);
    made.modifier = object.format_modifier;
    made.fourcc = fourcc;
    made.width = width;
    made.height = height;
    return made;
  };
  // A VAAPI surface is named by its id: the pool hands the same ones out again.
  const auto id = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(exported.surface->data[3]));
  Nv12DmaBuf target;
  target.surface = id;
  target.luma = describe(*planes[0], kDrmFormatR8, encoding_.width, encoding_.height);
  target.chroma = describe(*planes[1], kDrmFormatGR88, (encoding_.width + 1) / 2, (encoding_.height + 1) / 2);
  exported_[id] = std::move(exported);
  return target;
}

EncoderError VideoEncoder::sendSurface(std::uint64_t surface, double hostTime, bool written, bool forceKeyFrame) {
  const auto found = exported_.find(surface);
  if (found == exported_.end()) return EncoderError::conversionFailed;
  ExportedSurface exported = std::move(found->second);
  exported_.erase(found);
  // Unmapped before the encoder reads it: the GPU's writes are done.
  exported.mapping.reset();
  if (!written) return EncoderError::none;
  return sendFrame(exported.surface.get(), hostTime, forceKeyFrame);
}

EncoderError VideoEncoder::flush() {
  const int code = avcodec_send_frame(context_.get(), nullptr);
  return code < 0 && code != AVERROR_EOF ? EncoderError::encodeFailed : EncoderError::none;
}

bool VideoEncoder::receive(EncodedVideoSample& sample, EncoderError& error) {
  error = EncoderError::none;
  const int code = avcodec_receive_packet(context_.get(), packet_.get());
  if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return false;
  if (code < 0) {
    error = EncoderError::encodeFailed;
    return false;
  }
  const AVPacket* packet = packet_.get();
  const std::span<const std::uint8_t> bytes(packet->data, static_cast<std::size_t>(packet->size));
  if (format_->codec == VideoCodecKind::proRes422) {
    sample.data.assign(bytes.begin(), bytes.end());
  } else {
    sample.data = avc::annexBToLengthPrefixed(bytes);
  }
  sample.pts = static_cast<double>(packet->pts) / kTimeBase.den;
  sample.dts = packet->dts != AV_NOPTS_VALUE ? static_cast<double>(packet->dts) / kTimeBase.den : sample.pts;
  sample.isKeyFrame = (packet->flags & AV_PKT_FLAG_KEY) != 0;
  sample.format = format_;
  av_packet_unref(packet_.get());
  return true;
}

}  // namespace tavorin

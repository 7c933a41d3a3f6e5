#include "platform/media/CameraFrameConverter.h"

#include <algorithm>
#include <cstring>
#include <tuple>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "platform/media/PictureConversion.h"

namespace tavorin {
namespace {

using namespace ffmpeg;

// Enough for the consumers' few held frames plus the one being written.
constexpr std::size_t maximumPooledBuffers = 12;

AVPixelFormat avFormatOf(CameraPixelFormat format) {
  switch (format) {
    case CameraPixelFormat::yuyv: return AV_PIX_FMT_YUYV422;
    case CameraPixelFormat::nv12: return AV_PIX_FMT_NV12;
    case CameraPixelFormat::i420: return AV_PIX_FMT_YUV420P;
    case CameraPixelFormat::bgrx: return AV_PIX_FMT_BGR0;
    case CameraPixelFormat::rgbx: return AV_PIX_FMT_RGB0;
    case CameraPixelFormat::bgra: return AV_PIX_FMT_BGRA;
    case CameraPixelFormat::mjpeg: return AV_PIX_FMT_NONE;
  }
  return AV_PIX_FMT_NONE;
}

ColourMatrix matrixFor(ColourMatrix said, int height) {
  if (said != ColourMatrix::unspecified) return said;
  return height < 720 ? ColourMatrix::bt601 : ColourMatrix::bt709;
}

bool isRGB(AVPixelFormat format) {
  const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(format);
  return desc && (desc->flags & AV_PIX_FMT_FLAG_RGB);
}

// Cameras are opaque, but BGRx/RGBx carry whatever the device left in the
// padding byte and swscale copies it.
void makeOpaque(PixelBuffer& buffer) {
  for (int y = 0; y < buffer.height(); ++y) {
    std::uint8_t* px = buffer.row(y);
    for (int x = 0; x < buffer.width(); ++x) px[4 * x + 3] = 255;
  }
}

void setError(std::string* error, std::string text) {
  if (error) *error = std::move(text);
}

}  // namespace

CameraFrameConverter::CameraFrameConverter(CaptureLimits limits) : limits_(limits) {}

CameraFrameConverter::~CameraFrameConverter() = default;

PixelBufferRef CameraFrameConverter::convert(const CameraFrameFormat& format, const CameraFramePlanes& planes,
                                             double hostTime, std::string* error) {
  if (format.width <= 0 || format.height <= 0 || !planes.data[0]) {
    setError(error, "empty camera frame");
    return nullptr;
  }
  const auto [outWidth, outHeight] = captureSize(format.width, format.height, limits_);
  ScalerKey key;
  key.outWidth = outWidth;
  key.outHeight = outHeight;
  if (format.pixelFormat != CameraPixelFormat::mjpeg) {
    key.format = avFormatOf(format.pixelFormat);
    key.width = format.width;
    key.height = format.height;
    key.matrix = matrixFor(format.matrix, format.height);
    key.fullRange = format.range == ColourRange::full;
    return scale(key, planes.data.data(), planes.stride.data(), hostTime, error);
  }

  if (!decodeJpeg(planes, error)) return nullptr;
  const AVFrame& frame = *decoded_;
  bool fullRange = frame.color_range == AVCOL_RANGE_JPEG;
  key.format = withoutJpegRange(static_cast<AVPixelFormat>(frame.format), fullRange);
  key.width = frame.width;
  key.height = frame.height;
  key.fullRange = fullRange;
  // libavcodec calls every JPEG BT.601, so only the stream's word counts.
  key.matrix = matrixFor(format.matrix, frame.height);
  // A JPEG may differ from the size the stream announced; the output follows the JPEG.
  std::tie(key.outWidth, key.outHeight) = captureSize(frame.width, frame.height, limits_);
  return scale(key, frame.data, frame.linesize, hostTime, error);
}

bool CameraFrameConverter::decodeJpeg(const CameraFramePlanes& planes, std::string* error) {
  if (!decoder_) {
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
    if (!codec) {
      setError(error, "this FFmpeg has no MJPEG decoder");
      return false;
    }
    CodecContextPtr decoder(avcodec_alloc_context3(codec));
    if (!decoder) {
      setError(error, "out of memory");
      return false;
    }
    // One picture in, the same picture out: frame threads would hold pictures back.
    decoder->thread_count = 1;
    if (const int status = avcodec_open2(decoder.get(), codec, nullptr); status < 0) {
      setError(error, "cannot open the MJPEG decoder: " + errorText(status));
      return false;
    }
    decoder_ = std::move(decoder);
    decoded_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    if (!decoded_ || !packet_) {
      decoder_.reset();
      setError(error, "out of memory");
      return false;
    }
  }
  if (planes.size == 0) {
    setError(error, "empty JPEG");
    return false;
  }
  packetBytes_.resize(planes.size + AV_INPUT_BUFFER_PADDING_SIZE);
  std::memcpy(packetBytes_.data(), planes.data[0], planes.size);
  std::memset(packetBytes_.data() + planes.size, 0, AV_INPUT_BUFFER_PADDING_SIZE);
  packet_->data = packetBytes_.data();
  packet_->size = static_cast<int>(planes.size);
  av_frame_unref(decoded_.get());
  int status = avcodec_send_packet(decoder_.get(), packet_.get());
  if (status >= 0) status = avcodec_receive_frame(decoder_.get(), decoded_.get());
  packet_->data = nullptr;
  packet_->size = 0;
  if (status < 0) {
    setError(error, "cannot decode the camera's JPEG: " + errorText(status));
    return false;
  }
  return true;
}

PixelBufferRef CameraFrameConverter::scale(const ScalerKey& key, const std::uint8_t* const* data, const int* strides,
                                           double hostTime, std::string* error) {
  if (!scaler_ || !(key == scalerKey_)) {
    const bool scaled = key.width != key.outWidth || key.height != key.outHeight;
    // Unscaled conversions take swscale's fast paths; scaled ones a bilinear filter.
    const int flags = scaled ? SWS_BILINEAR : SWS_POINT;
    scaler_.reset(sws_getContext(key.width, key.height, static_cast<AVPixelFormat>(key.format), key.outWidth,
                                 key.outHeight, AV_PIX_FMT_BGRA, flags, nullptr, nullptr, nullptr));
    if (!scaler_) {
      setError(error, "cannot convert camera pictures of this kind");
      return nullptr;
    }
    const int matrix = key.matrix == ColourMatrix::bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(matrix), key.fullRange ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    scalerKey_ = key;
  }
  if (!pool_ || pool_->width() != key.outWidth || pool_->height() != key.outHeight) {
    pool_ = std::make_unique<PixelBufferPool>(key.outWidth, key.outHeight, PixelBufferPool::kMinimumBufferCount,
                                              maximumPooledBuffers);
  }
  PixelBufferRef out = pool_->acquire();
  if (!out) {
    setError(error, "every camera picture buffer is still in use");
    return nullptr;
  }
  std::uint8_t* outPlanes[4] = {out->data(), nullptr, nullptr, nullptr};
  const int outStrides[4] = {static_cast<int>(out->bytesPerRow()), 0, 0, 0};
  if (sws_scale(scaler_.get(), data, strides, 0, key.height, outPlanes, outStrides) != key.outHeight) {
    setError(error, "camera picture conversion failed");
    return nullptr;
  }
  if (isRGB(static_cast<AVPixelFormat>(key.format))) makeOpaque(*out);
  out->setHostTime(hostTime);
  return out;
}

}  // namespace tavorin

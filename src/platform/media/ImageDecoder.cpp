#include "platform/media/ImageDecoder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <system_error>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "platform/media/FFmpegPointers.h"
#include "platform/media/PictureConversion.h"

namespace tavorin {

namespace {

using namespace ffmpeg;

DecodedImage failure(std::string error) { return DecodedImage{nullptr, std::move(error)}; }

// Probing opens any media file, and a movie's first frame is no picture:
// only the still-image demuxers count.
bool isStillImageFormat(const AVInputFormat* format) {
  const std::string_view name = format->name;
  return name.ends_with("_pipe") || name == "image2" || name == "gif" || name == "apng";
}

// The first picture of the file's video stream, or an error text.
FramePtr decodeFirstFrame(AVFormatContext* format, int streamIndex, AVCodecContext* decoder, std::string& error) {
  FramePtr frame(av_frame_alloc());
  PacketPtr packet(av_packet_alloc());
  if (!frame || !packet) {
    error = "out of memory";
    return nullptr;
  }
  bool flushed = false;
  for (;;) {
    int status = avcodec_receive_frame(decoder, frame.get());
    if (status == 0) return frame;
    if (status != AVERROR(EAGAIN)) {
      error = status == AVERROR_EOF ? "no picture in the file" : errorText(status);
      return nullptr;
    }
    if (flushed) {
      error = "no picture in the file";
      return nullptr;
    }
    status = av_read_frame(format, packet.get());
    if (status < 0) {
      // Some decoders hold the last picture back until told the input ended.
      avcodec_send_packet(decoder, nullptr);
      flushed = true;
      continue;
    }
    if (packet->stream_index == streamIndex) status = avcodec_send_packet(decoder, packet.get());
    av_packet_unref(packet.get());
    if (status < 0 && status != AVERROR(EAGAIN)) {
      error = errorText(status);
      return nullptr;
    }
  }
}

bool convertToBGRA(const AVFrame& frame, PixelBuffer& out) {
  bool fullRange = false;
  const auto format = withoutJpegRange(static_cast<AVPixelFormat>(frame.format), fullRange);
  ScalerPtr scaler(sws_getContext(frame.width, frame.height, format, out.width(), out.height(), AV_PIX_FMT_BGRA,
                                  SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP, nullptr,
                                  nullptr, nullptr));
  if (!scaler) return false;
  describeSourceColours(scaler.get(), format, frame.colorspace, fullRange || frame.color_range == AVCOL_RANGE_JPEG);
  std::uint8_t* planes[4] = {out.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(out.bytesPerRow()), 0, 0, 0};
  return sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) == out.height();
}

// Scaled premultiplied colour must not exceed its alpha: a bicubic kernel can
// overshoot at hard edges.
void clampToAlpha(PixelBuffer& buffer) {
  for (int y = 0; y < buffer.height(); ++y) {
    std::uint8_t* px = buffer.row(y);
    for (int x = 0; x < buffer.width(); ++x, px += 4) {
      px[0] = std::min(px[0], px[3]);
      px[1] = std::min(px[1], px[3]);
      px[2] = std::min(px[2], px[3]);
    }
  }
}

// Resampling happens after premultiplication, so transparent pixels lend no
// colour to their neighbours.
bool resample(const PixelBuffer& source, PixelBuffer& out) {
  const bool shrinks = out.width() <= source.width() && out.height() <= source.height();
  ScalerPtr scaler(sws_getContext(source.width(), source.height(), AV_PIX_FMT_BGRA, out.width(), out.height(),
                                  AV_PIX_FMT_BGRA, (shrinks ? SWS_AREA : SWS_BICUBIC) | SWS_ACCURATE_RND, nullptr,
                                  nullptr, nullptr));
  if (!scaler) return false;
  const std::uint8_t* sourcePlanes[4] = {source.data(), nullptr, nullptr, nullptr};
  const int sourceStrides[4] = {static_cast<int>(source.bytesPerRow()), 0, 0, 0};
  std::uint8_t* planes[4] = {out.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(out.bytesPerRow()), 0, 0, 0};
  if (sws_scale(scaler.get(), sourcePlanes, sourceStrides, 0, source.height(), planes, strides) != out.height()) {
    return false;
  }
  clampToAlpha(out);
  return true;
}

}  // namespace

ImagePixelSize fittedImageSize(int width, int height, int maxWidth, int maxHeight) {
  const double scale = std::min({static_cast<double>(maxWidth) / width, static_cast<double>(maxHeight) / height, 1.0});
  return ImagePixelSize{std::max(static_cast<int>(std::lround(width * scale)), 2),
                        std::max(static_cast<int>(std::lround(height * scale)), 2)};
}

DecodedImage decodeImageFile(const std::filesystem::path& path, int maxWidth, int maxHeight) {
  const std::string name = path.string();
  std::error_code ec;
  if (!std::filesystem::exists(path, ec)) return failure("No such file: " + name);
  if (!std::filesystem::is_regular_file(path, ec)) return failure("Not a regular file: " + name);

  AVFormatContext* opened = nullptr;
  if (const int status = avformat_open_input(&opened, name.c_str(), nullptr, nullptr); status < 0) {
    return failure("Can't read " + name + ": " + errorText(status));
  }
  InputFormatPtr format(opened);
  if (!isStillImageFormat(format->iformat)) return failure("Not an image: " + name);
  const int streamIndex = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (streamIndex < 0) return failure("Not an image: " + name);

  const AVCodecParameters* parameters = format->streams[streamIndex]->codecpar;
  const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
  if (!codec) return failure("No decoder for the pictures in " + name);
  CodecContextPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder) return failure("Out of memory decoding " + name);
  if (avcodec_parameters_to_context(decoder.get(), parameters) < 0) return failure("Can't decode " + name);
  if (const int status = avcodec_open2(decoder.get(), codec, nullptr); status < 0) {
    return failure("Can't decode " + name + ": " + errorText(status));
  }

  std::string error;
  FramePtr frame = decodeFirstFrame(format.get(), streamIndex, decoder.get(), error);
  if (!frame) return failure("Can't decode " + name + ": " + error);
  if (frame->width <= 0 || frame->height <= 0) return failure("Can't decode " + name + ": empty picture");

  const ImagePixelSize size = fittedImageSize(frame->width, frame->height, maxWidth, maxHeight);
  const bool resized = size.width != frame->width || size.height != frame->height;
  PixelBufferRef full = PixelBuffer::make(frame->width, frame->height);
  PixelBufferRef out = resized ? PixelBuffer::make(size.width, size.height) : full;
  if (!full || !out) return failure("Out of memory for the picture in " + name);
  if (!convertToBGRA(*frame, *full)) {
    const char* formatName = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame->format));
    return failure("Can't convert the " + std::string(formatName ? formatName : "unknown") + " picture in " + name);
  }
  premultiply(*full);
  if (resized && !resample(*full, *out)) return failure("Can't scale the picture in " + name);
  return DecodedImage{std::move(out), {}};
}

}  // namespace tavorin

#include "platform/media/PngWriter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/AtomicFile.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

namespace {

using namespace ffmpeg;

bool fail(std::string* error, std::string text) {
  if (error) *error = std::move(text);
  return false;
}

bool isOpaque(const PixelBuffer& buffer) {
  for (int y = 0; y < buffer.height(); ++y) {
    const std::uint8_t* px = buffer.row(y);
    for (int x = 0; x < buffer.width(); ++x) {
      if (px[4 * x + 3] != 255) return false;
    }
  }
  return true;
}

inline std::uint8_t unpremultiplied(unsigned value, unsigned alpha) {
  return static_cast<std::uint8_t>(std::min(255u, (value * 255 + alpha / 2) / alpha));
}

// BGRA premultiplied to RGB24 or straight RGBA.
void copyPixels(const PixelBuffer& buffer, AVFrame& frame, bool opaque) {
  for (int y = 0; y < buffer.height(); ++y) {
    const std::uint8_t* in = buffer.row(y);
    std::uint8_t* out = frame.data[0] + static_cast<std::ptrdiff_t>(frame.linesize[0]) * y;
    for (int x = 0; x < buffer.width(); ++x, in += 4) {
      if (opaque) {
        *out++ = in[2];
        *out++ = in[1];
        *out++ = in[0];
        continue;
      }
      const unsigned alpha = in[3];
      if (alpha == 0) {
        std::memset(out, 0, 4);
      } else {
        out[0] = unpremultiplied(in[2], alpha);
        out[1] = unpremultiplied(in[1], alpha);
        out[2] = unpremultiplied(in[0], alpha);
        out[3] = static_cast<std::uint8_t>(alpha);
      }
      out += 4;
    }
  }
}

bool encode(const PixelBuffer& buffer, std::string& png, std::string* error) {
  const bool opaque = isOpaque(buffer);
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (!codec) return fail(error, "FFmpeg has no PNG encoder");
  CodecContextPtr encoder(avcodec_alloc_context3(codec));
  FramePtr frame(av_frame_alloc());
  PacketPtr packet(av_packet_alloc());
  if (!encoder || !frame || !packet) return fail(error, "out of memory");
  encoder->width = buffer.width();
  encoder->height = buffer.height();
  encoder->pix_fmt = opaque ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_RGBA;
  encoder->time_base = AVRational{1, 1};
  if (const int status = avcodec_open2(encoder.get(), codec, nullptr); status < 0) {
    return fail(error, "can't open the PNG encoder: " + errorText(status));
  }
  frame->format = encoder->pix_fmt;
  frame->width = buffer.width();
  frame->height = buffer.height();
  if (av_frame_get_buffer(frame.get(), 0) < 0) return fail(error, "out of memory");
  copyPixels(buffer, *frame, opaque);

  int status = avcodec_send_frame(encoder.get(), frame.get());
  if (status >= 0) status = avcodec_send_frame(encoder.get(), nullptr);
  if (status < 0) return fail(error, "PNG encoding failed: " + errorText(status));
  while ((status = avcodec_receive_packet(encoder.get(), packet.get())) == 0) {
    png.append(reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size));
    av_packet_unref(packet.get());
  }
  if (status != AVERROR_EOF) return fail(error, "PNG encoding failed: " + errorText(status));
  return true;
}

}  // namespace

bool writePNG(const PixelBuffer& buffer, const std::filesystem::path& path, std::string* error) {
  if (!buffer.valid()) return fail(error, "empty picture");
  if (!path.has_filename()) return fail(error, "no file name in " + path.string());
  std::string png;
  if (!encode(buffer, png, error)) return false;

  if (writeFileAtomically(path, png)) return true;
  return fail(error, "can't write " + path.string());
}

}  // namespace tavorin

#pragma once

#include <algorithm>
#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace tavorin::ffmpeg {

// Owning pointers for the FFmpeg objects the media wrappers hold, so every
// early return frees what was made so far.
struct FormatCloser {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecContextFreer {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameFreer {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFreer {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScalerFreer {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};
// An output's file, when open, goes with the context.
struct OutputFormatFreer {
  void operator()(AVFormatContext* context) const {
    if (context->pb) avio_closep(&context->pb);
    avformat_free_context(context);
  }
};
struct BufferRefFreer {
  void operator()(AVBufferRef* buffer) const { av_buffer_unref(&buffer); }
};
struct AudioFifoFreer {
  void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};

using InputFormatPtr = std::unique_ptr<AVFormatContext, FormatCloser>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextFreer>;
using FramePtr = std::unique_ptr<AVFrame, FrameFreer>;
using PacketPtr = std::unique_ptr<AVPacket, PacketFreer>;
using ScalerPtr = std::unique_ptr<SwsContext, ScalerFreer>;
using OutputFormatPtr = std::unique_ptr<AVFormatContext, OutputFormatFreer>;
using BufferRefPtr = std::unique_ptr<AVBufferRef, BufferRefFreer>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoFreer>;

// Gives a decoder its own zero-padded copy of `size` bytes as its configuration.
inline void setExtradata(AVCodecContext* context, const std::uint8_t* data, std::size_t size) {
  context->extradata = static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!context->extradata) return;
  std::copy(data, data + size, context->extradata);
  context->extradata_size = static_cast<int>(size);
}

inline std::string errorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace tavorin::ffmpeg

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/PixelBuffer.h"
#include "base/PixelBufferPool.h"
#include "platform/capture/CaptureSize.h"
#include "platform/media/CameraFrameFormat.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

// Turns raw camera pictures into pooled premultiplied BGRA (alpha 255) at the
// size captureSize gives for the limits: MJPEG decoded with libavcodec, then
// colour conversion and scaling in one libswscale pass. One capture thread
// uses it; nothing is allocated per frame once the sizes settle.
class CameraFrameConverter {
 public:
  explicit CameraFrameConverter(CaptureLimits limits = {});
  ~CameraFrameConverter();
  CameraFrameConverter(const CameraFrameConverter&) = delete;
  CameraFrameConverter& operator=(const CameraFrameConverter&) = delete;

  void setLimits(CaptureLimits limits) { limits_ = limits; }
  CaptureLimits limits() const { return limits_; }

  // The converted picture stamped with `hostTime`, or null when it cannot be
  // converted (a corrupt JPEG, every pooled buffer still held); `error` says why.
  PixelBufferRef convert(const CameraFrameFormat& format, const CameraFramePlanes& planes, double hostTime,
                         std::string* error = nullptr);

 private:
  struct ScalerKey {
    int format = -1;
    int width = 0, height = 0, outWidth = 0, outHeight = 0;
    ColourMatrix matrix = ColourMatrix::unspecified;
    bool fullRange = false;
    friend bool operator==(const ScalerKey&, const ScalerKey&) = default;
  };

  bool decodeJpeg(const CameraFramePlanes& planes, std::string* error);
  PixelBufferRef scale(const ScalerKey& key, const std::uint8_t* const* data, const int* strides, double hostTime,
                       std::string* error);

  CaptureLimits limits_;
  ffmpeg::CodecContextPtr decoder_;
  ffmpeg::FramePtr decoded_;
  ffmpeg::PacketPtr packet_;
  // JPEG bytes copied with the zeroed tail libavcodec's parsers read past the end.
  std::vector<std::uint8_t> packetBytes_;
  ffmpeg::ScalerPtr scaler_;
  ScalerKey scalerKey_;
  std::unique_ptr<PixelBufferPool> pool_;
};

}  // namespace tavorin

#pragma once

#include <memory>

#include "base/PixelBuffer.h"
#include "base/PixelBufferPool.h"
#include "platform/media/FFmpegPointers.h"

namespace tavorin {

// Turns a clip's decoded pictures into pooled premultiplied BGRA that fits
// 1920 by 1080, upright: colour matrix and range as the stream says, alpha
// premultiplied, the display matrix's quarter turns applied. One thread uses
// it; nothing is allocated per picture once the size settles.
class ClipPictureConverter {
 public:
  // `rotation`: clockwise quarter turns the picture needs to stand upright (0–3).
  explicit ClipPictureConverter(int rotation = 0) : rotation_(rotation & 3) {}

  // Null when the picture can't be converted or every pooled buffer is held.
  PixelBufferRef convert(const AVFrame& frame);

 private:
  struct Key {
    int format = -1;
    int width = 0, height = 0, outWidth = 0, outHeight = 0;
    int colorspace = 0;
    bool fullRange = false;
    friend bool operator==(const Key&, const Key&) = default;
  };

  bool prepare(const Key& key);

  const int rotation_;
  ffmpeg::ScalerPtr scaler_;
  Key key_;
  bool premultiplies_ = false;
  std::unique_ptr<PixelBufferPool> pool_;
  // Pictures that turn are converted here first, then turned into a pooled buffer.
  PixelBufferRef unturned_;
};

// Clockwise quarter turns (0–3) that stand up a picture whose display matrix says `matrix`; 0 without one.
int quarterTurnsFor(const std::int32_t* matrix);

}  // namespace tavorin

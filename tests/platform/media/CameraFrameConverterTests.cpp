#include "platform/media/CameraFrameConverter.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/media/FFmpegPointers.h"

namespace tavorin {
namespace {

using namespace ffmpeg;

struct BGR {
  int b = 0, g = 0, r = 0;
};

// Eight bars, far enough from the gamut's edge that limited range keeps them apart.
constexpr std::array<BGR, 8> bars{{{200, 200, 200}, {30, 200, 200}, {200, 200, 30}, {30, 200, 30},
                                   {200, 30, 200}, {30, 30, 200}, {200, 30, 30}, {40, 60, 80}}};

FramePtr barsFrame(int width, int height) {
  FramePtr frame(av_frame_alloc());
  frame->format = AV_PIX_FMT_BGRA;
  frame->width = width;
  frame->height = height;
  av_frame_get_buffer(frame.get(), 64);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const BGR& bar = bars[static_cast<std::size_t>(x * 8 / width)];
      std::uint8_t* px = frame->data[0] + y * frame->linesize[0] + 4 * x;
      px[0] = static_cast<std::uint8_t>(bar.b);
      px[1] = static_cast<std::uint8_t>(bar.g);
      px[2] = static_cast<std::uint8_t>(bar.r);
      px[3] = 255;
    }
  }
  return frame;
}

// The bars in `format`, written by swscale with the given matrix and range.
FramePtr convertedBars(int width, int height, AVPixelFormat format, bool bt709, bool fullRange) {
  // swscale's direct RGB to YUYV path rounds loosely; planar 4:2:2 repacks exactly.
  const bool viaPlanar = format == AV_PIX_FMT_YUYV422;
  FramePtr source = viaPlanar ? convertedBars(width, height, AV_PIX_FMT_YUV422P, bt709, fullRange)
                              : barsFrame(width, height);
  FramePtr out(av_frame_alloc());
  out->format = format;
  out->width = width;
  out->height = height;
  av_frame_get_buffer(out.get(), 64);
  ScalerPtr scaler(sws_getContext(width, height, static_cast<AVPixelFormat>(source->format), width, height, format,
                                  SWS_POINT | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  const int matrix = bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
  sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(viaPlanar ? matrix : SWS_CS_DEFAULT),
                           viaPlanar ? fullRange : 1,
                           sws_getCoefficients(matrix), fullRange ? 1 : 0, 0, 1 << 16,
                           1 << 16);
  sws_scale(scaler.get(), source->data, source->linesize, 0, height, out->data, out->linesize);
  return out;
}

// A JPEG of the bars at the best quality; limited range marked as such.
std::vector<std::uint8_t> jpegBars(int width, int height, bool bt709, bool fullRange) {
  FramePtr frame = convertedBars(width, height, fullRange ? AV_PIX_FMT_YUVJ420P : AV_PIX_FMT_YUV420P, bt709,
                                 fullRange);
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
  CodecContextPtr encoder(avcodec_alloc_context3(codec));
  encoder->width = width;
  encoder->height = height;
  encoder->pix_fmt = static_cast<AVPixelFormat>(frame->format);
  encoder->time_base = {1, 30};
  encoder->color_range = fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  encoder->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
  encoder->flags |= AV_CODEC_FLAG_QSCALE;
  encoder->qmin = encoder->qmax = 1;
  EXPECT_EQ(avcodec_open2(encoder.get(), codec, nullptr), 0);
  frame->quality = FF_QP2LAMBDA;
  frame->color_range = encoder->color_range;
  PacketPtr packet(av_packet_alloc());
  EXPECT_EQ(avcodec_send_frame(encoder.get(), frame.get()), 0);
  EXPECT_EQ(avcodec_receive_packet(encoder.get(), packet.get()), 0);
  return {packet->data, packet->data + packet->size};
}

struct Case {
  CameraPixelFormat format;
  bool bt709;
  bool fullRange;
  int width = 128, height = 64;
  CaptureLimits limits{};
  int outWidth = 128, outHeight = 64;
};

class CameraFrameConverterTest : public ::testing::TestWithParam<Case> {};

TEST_P(CameraFrameConverterTest, BarsComeBackInTheirColoursAtTheCaptureSize) {
  const Case& c = GetParam();
  CameraFrameFormat format{c.format, c.width, c.height, c.bt709 ? ColourMatrix::bt709 : ColourMatrix::bt601,
                           c.fullRange ? ColourRange::full : ColourRange::limited};
  FramePtr source;
  std::vector<std::uint8_t> jpeg;
  CameraFramePlanes planes;
  if (c.format == CameraPixelFormat::mjpeg) {
    jpeg = jpegBars(c.width, c.height, c.bt709, c.fullRange);
    planes.data[0] = jpeg.data();
    planes.size = jpeg.size();
    // A device's word on the range is no match for the JPEG's own.
    format.range = ColourRange::unspecified;
  } else {
    const AVPixelFormat av = c.format == CameraPixelFormat::yuyv   ? AV_PIX_FMT_YUYV422
                             : c.format == CameraPixelFormat::nv12 ? AV_PIX_FMT_NV12
                             : c.format == CameraPixelFormat::i420 ? AV_PIX_FMT_YUV420P
                                                                   : AV_PIX_FMT_BGR0;
    source = convertedBars(c.width, c.height, av, c.bt709, c.fullRange);
    for (int i = 0; i < 3; ++i) {
      planes.data[i] = source->data[i];
      planes.stride[i] = source->linesize[i];
    }
  }

  CameraFrameConverter converter(c.limits);
  std::string error;
  const PixelBufferRef out = converter.convert(format, planes, 12.5, &error);
  ASSERT_TRUE(out) << error;
  EXPECT_EQ(out->width(), c.outWidth);
  EXPECT_EQ(out->height(), c.outHeight);
  EXPECT_EQ(out->hostTime(), 12.5);
  for (int i = 0; i < 8; ++i) {
    const int x = (2 * i + 1) * out->width() / 16;
    const std::uint8_t* px = out->row(out->height() / 2) + 4 * x;
    EXPECT_NEAR(px[0], bars[i].b, 3) << "bar " << i;
    EXPECT_NEAR(px[1], bars[i].g, 3) << "bar " << i;
    EXPECT_NEAR(px[2], bars[i].r, 3) << "bar " << i;
    EXPECT_EQ(px[3], 255) << "bar " << i;
  }
}

std::vector<Case> cases() {
  std::vector<Case> all;
  for (auto format : {CameraPixelFormat::yuyv, CameraPixelFormat::nv12, CameraPixelFormat::i420,
                      CameraPixelFormat::mjpeg}) {
    for (bool bt709 : {false, true}) {
      for (bool full : {false, true}) all.push_back({format, bt709, full});
    }
  }
  all.push_back({CameraPixelFormat::bgrx, false, true});
  all.push_back({CameraPixelFormat::nv12, true, false, 3840, 2160, {1920, 1080}, 1920, 1080});
  all.push_back({CameraPixelFormat::mjpeg, false, true, 1280, 720, {640, 480}, 640, 360});
  return all;
}

std::string caseName(const ::testing::TestParamInfo<Case>& info) {
  static const char* names[] = {"YUYV", "NV12", "I420", "BGRx", "RGBx", "BGRA", "MJPEG"};
  const Case& c = info.param;
  return std::string(names[static_cast<int>(c.format)]) + (c.bt709 ? "_709" : "_601") +
         (c.fullRange ? "_Full_" : "_Limited_") + std::to_string(c.width) + "x" + std::to_string(c.height);
}

INSTANTIATE_TEST_SUITE_P(Formats, CameraFrameConverterTest, ::testing::ValuesIn(cases()), caseName);

TEST(CameraFrameConverter, CorruptJpegIsRefusedAndTheNextOneStillDecodes) {
  CameraFrameConverter converter;
  const std::vector<std::uint8_t> garbage(512, 0x5a);
  CameraFramePlanes bad;
  bad.data[0] = garbage.data();
  bad.size = garbage.size();
  std::string error;
  EXPECT_FALSE(converter.convert({CameraPixelFormat::mjpeg, 64, 32}, bad, 0, &error));
  EXPECT_FALSE(error.empty());
  const auto jpeg = jpegBars(64, 32, false, true);
  CameraFramePlanes good;
  good.data[0] = jpeg.data();
  good.size = jpeg.size();
  EXPECT_TRUE(converter.convert({CameraPixelFormat::mjpeg, 64, 32}, good, 0));
}

}  // namespace
}  // namespace tavorin

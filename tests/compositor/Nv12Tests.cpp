#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

#include "compositor/CompositorEngine.h"
#include "compositor/Nv12Converter.h"
#include "compositor/Nv12Readback.h"
#include "platform/gl/DmaBufImage.h"
#include "support/CompositorTestSupport.h"

namespace tavorin::testing {
namespace {

// libswscale's BGRA to NV12 with BT.709 limited range, the bilinear scaler
// the encoders use: the reference the GPU planes must match.
std::vector<std::uint8_t> swscaleNv12(const PixelBuffer& picture) {
  const int width = picture.width(), height = picture.height();
  SwsContext* scaler = sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, AV_PIX_FMT_NV12, SWS_BILINEAR,
                                      nullptr, nullptr, nullptr);
  const int* bt709 = sws_getCoefficients(SWS_CS_ITU709);
  sws_setColorspaceDetails(scaler, bt709, 1, bt709, 0, 0, 1 << 16, 1 << 16);
  std::vector<std::uint8_t> planes(static_cast<std::size_t>(width * height * 3 / 2));
  const std::uint8_t* source[] = {picture.data()};
  const int sourceStride[] = {static_cast<int>(picture.bytesPerRow())};
  std::uint8_t* target[] = {planes.data(), planes.data() + width * height};
  const int targetStride[] = {width, width};
  sws_scale(scaler, source, sourceStride, 0, height, target, targetStride);
  sws_freeContext(scaler);
  return planes;
}

Rgba grey(int v) { return {v, v, v, 255}; }

// Opaque pictures, as Program is, that stress each part of the conversion.
using Painter = Rgba (*)(int x, int y, int w, int h);
Rgba gradients(int x, int y, int w, int h) {
  return {x * 255 / (w - 1), y * 255 / (h - 1), (x + y) * 255 / (w + h - 2), 255};
}
// Slanted bars of the primaries and secondaries, so edges cross rows and columns at odd places.
Rgba primaries(int x, int y, int w, int) {
  const int bar = ((x + y / 3) * 8 / w) % 8;
  return {bar & 4 ? 255 : 0, bar & 2 ? 255 : 0, bar & 1 ? 255 : 0, 255};
}
Rgba greys(int x, int y, int, int) { return grey((x * 5 + y * 3) % 256); }
Rgba noise(int x, int y, int w, int) {
  std::minstd_rand random(static_cast<unsigned>(y * w + x + 1));
  random.discard(3);
  return {static_cast<int>(random() & 255), static_cast<int>(random() & 255), static_cast<int>(random() & 255), 255};
}
Rgba mixed(int x, int y, int w, int h) {
  const Painter quadrant[] = {gradients, primaries, noise, greys};
  return quadrant[(x >= w / 2) + 2 * (y >= h / 2)](x, y, w, h);
}

PixelBufferRef paint(int width, int height, Painter painter) {
  PixelBufferRef picture = PixelBuffer::make(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Rgba c = painter(x, y, width, height);
      std::uint8_t* p = picture->row(y) + 4 * x;
      p[0] = static_cast<std::uint8_t>(c.b), p[1] = static_cast<std::uint8_t>(c.g);
      p[2] = static_cast<std::uint8_t>(c.r), p[3] = static_cast<std::uint8_t>(c.a);
    }
  }
  return picture;
}

using Nv12Conversion = CompositorTest;

TEST_F(Nv12Conversion, PlanesMatchLibswscaleWithinOneCodeValue) {
  const struct {
    const char* name;
    Painter painter;
  } pictures[] = {{"gradients", gradients}, {"primaries", primaries}, {"greys", greys}, {"noise", noise},
                  {"mixed", mixed}};
  Nv12Converter converter(context);
  for (auto [width, height] : {std::pair{64, 36}, std::pair{1280, 720}}) {
    Nv12Readback readback(width, height);
    for (const auto& picture : pictures) {
      SCOPED_TRACE(::testing::Message() << picture.name << " at " << width << " x " << height);
      PixelBufferRef bgra = paint(width, height, picture.painter);
      const LayerTexture canvas = cache.textureFor(picture.name, *bgra);
      ASSERT_TRUE(readback.queue(converter, canvas, true, 7.5));
      Nv12FrameRef frame = readback.collect(true);
      ASSERT_TRUE(frame);
      EXPECT_EQ(frame->hostTime(), 7.5);

      const std::vector<std::uint8_t> expected = swscaleNv12(*bgra);
      int worst = 0, worstX = 0, worstY = 0;
      auto compare = [&](int got, int want, int x, int y) {
        if (std::abs(got - want) > worst) worst = std::abs(got - want), worstX = x, worstY = y;
      };
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) compare(frame->lumaRow(y)[x], expected[y * width + x], x, y);
      }
      const std::uint8_t* chroma = expected.data() + width * height;
      for (int y = 0; y < height / 2; ++y) {
        for (int x = 0; x < width; ++x) compare(frame->chromaRow(y)[x], chroma[y * width + x], x, height + y);
      }
      EXPECT_LE(worst, 1) << "worst at byte " << worstX << ", row " << worstY << " (chroma rows follow luma)";
    }
  }
}

// Drawing into a VA surface needs the driver to import dma-bufs; software
// GL cannot, and says so with a reason rather than failing later.
TEST_F(Nv12Conversion, DmaBufImportReportsWhyItIsUnavailable) {
  const int memory = memfd_create("not-a-dma-buf", 0);
  ASSERT_GE(memory, 0);
  ASSERT_EQ(ftruncate(memory, 64 * 36), 0);
  const DmaBufImportError support = dmaBufImportSupport();
  const struct {
    const char* name;
    DmaBufPlane plane;
    DmaBufImportError expected;  // when the driver supports imports
  } cases[] = {
      {"plain memory", {memory, 0, 64, kDrmModifierNone, kDrmFormatR8, 64, 36}, DmaBufImportError::importRefused},
      {"no fd", {-1, 0, 64, kDrmModifierNone, kDrmFormatR8, 64, 36}, DmaBufImportError::badDescriptor},
      {"NV12 as one plane", {memory, 0, 64, kDrmModifierNone, drmFourcc('N', 'V', '1', '2'), 64, 36},
       DmaBufImportError::badDescriptor},
  };
  for (const auto& row : cases) {
    DmaBufImportError error = DmaBufImportError::none;
    EXPECT_EQ(DmaBufImage::import(row.plane, error), nullptr) << row.name;
    EXPECT_EQ(error, support == DmaBufImportError::none ? row.expected : support) << row.name << ": " << describe(error);
  }
  close(memory);
}

class Nv12Engine : public ::testing::Test {
 protected:
  Nv12Engine() : context(testContext()), engine(context, sources) {
    context.makeCurrent();
    red->publish(solidFrame(64, 36, kRed));
    sources.set("image:red", red);
    engine.setCanvas(640, 360);
    engine.setPlanProvider(Canvas::program, [](double) { return RenderPlan{{layerOf("image:red")}}; });
    engine.addConsumer(Canvas::program, 30);
  }

  GLContext& context;
  FrameSlotMap sources;
  std::shared_ptr<FrameSlot> red = std::make_shared<FrameSlot>();
  CompositorEngine engine;
};

// Each tick's Program picture arrives as NV12 stamped with that tick's host
// time, whether read back from the start or after surfaces could not be
// imported, which is reported once, the refused surface given back.
TEST_F(Nv12Engine, ProgramArrivesAsNv12WithTheTickTime) {
  for (bool surfaces : {false, true}) {
    SCOPED_TRACE(surfaces ? "surfaces refused" : "readback");
    std::vector<Nv12FrameRef> frames;
    int asked = 0;
    std::vector<std::pair<std::uint64_t, bool>> done;
    std::vector<DmaBufImportError> fellBack;
    Nv12Output output;
    output.frames = [&](const Nv12FrameRef& frame) { frames.push_back(frame); };
    if (surfaces) {
      output.surface = [&](double) -> std::optional<Nv12DmaBuf> {
        ++asked;
        return Nv12DmaBuf{42, {-1, 0, 640, kDrmModifierNone, kDrmFormatR8, 640, 360},
                          {-1, 0, 640, kDrmModifierNone, kDrmFormatGR88, 320, 180}};
      };
      output.surfaceDone = [&](std::uint64_t surface, double, bool written) { done.emplace_back(surface, written); };
      output.fellBack = [&](DmaBufImportError why) { fellBack.push_back(why); };
    }
    engine.setNv12Output(Canvas::program, std::move(output));

    const double ticks[] = {10.0 + surfaces, 10.1 + surfaces, 10.2 + surfaces};
    for (double now : ticks) engine.onRefresh(now);
    glFinish();
    ASSERT_FALSE(frames.empty());
    double previous = 0;
    for (const Nv12FrameRef& frame : frames) {
      EXPECT_NE(std::find(std::begin(ticks), std::end(ticks), frame->hostTime()), std::end(ticks));
      EXPECT_GT(frame->hostTime(), previous) << "in tick order";
      previous = frame->hostTime();
    }
    const Nv12Frame& last = *frames.back();
    EXPECT_EQ(std::pair(last.width(), last.height()), std::pair(640, 360));
    // Red in BT.709 limited range: Y 63, Cb 102, Cr 240.
    EXPECT_EQ(last.lumaRow(180)[320], 63);
    EXPECT_EQ(last.chromaRow(90)[320], 102);
    EXPECT_EQ(last.chromaRow(90)[321], 240);
    if (surfaces) {
      EXPECT_EQ(asked, 1) << "no surface is asked for once the readback has taken over";
      ASSERT_EQ(fellBack.size(), 1u);
      EXPECT_NE(fellBack[0], DmaBufImportError::none);
      EXPECT_EQ(done, (std::vector<std::pair<std::uint64_t, bool>>{{42, false}}));
    }
  }
}

}  // namespace
}  // namespace tavorin::testing

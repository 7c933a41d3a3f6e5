#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "base/DmaBufPlane.h"
#include "base/Nv12Frame.h"
#include "compositor/Nv12Converter.h"
#include "compositor/Nv12Readback.h"
#include "compositor/RenderTarget.h"
#include "platform/gl/DmaBufImage.h"

namespace tavorin {

// Where a canvas's pictures go as NV12 for a hardware encoder. With
// `surface`, each tick's picture is drawn straight into the encoder's VA
// surface; without it, or once a surface cannot be imported, the planes are
// read back into `frames`. Every callback runs on the render thread and must
// only hand things on.
struct Nv12Output {
  // Each tick's picture in CPU memory, its host time inside.
  std::function<void(const Nv12FrameRef& frame)> frames;
  // The surface to draw this tick's picture into; nullopt skips the tick.
  std::function<std::optional<Nv12DmaBuf>(double now)> surface;
  // True once no surface will ever come (the encoder cannot export them):
  // the readback takes over.
  std::function<bool()> surfacesRefused;
  // A surface that `surface` gave is done with: the GPU has finished writing
  // the picture of `hostTime` into it, or, when not `written`, it was given up.
  std::function<void(std::uint64_t surface, double hostTime, bool written)> surfaceDone;
  // Once, when surfaces cannot be drawn into and the readback takes over.
  std::function<void(DmaBufImportError why)> fellBack;
};

// One canvas's NV12 output on the render thread: imports the surfaces it is
// given (kept by surface, so a recycled surface is not imported again), draws
// into them and reports each one done once its fence has passed, without
// waiting; or reads the planes back. Nothing is allocated once the surfaces
// in use have been seen and the readback made.
class Nv12Delivery {
 public:
  static constexpr std::size_t kSurfacesInFlight = 4;
  static constexpr std::size_t kKeptImports = 16;

  Nv12Delivery(Nv12Converter& converter, Nv12Output output);
  // Waits for the surfaces still being written and reports them done; with
  // the context current.
  ~Nv12Delivery();
  Nv12Delivery(const Nv12Delivery&) = delete;
  Nv12Delivery& operator=(const Nv12Delivery&) = delete;

  // Once per tick. `canvas` is the canvas's target, null while it shows
  // nothing; `redrawn` tells whether it was drawn anew this tick.
  void deliver(const RenderTarget* canvas, bool redrawn, double now);

 private:
  struct Imported {
    std::uint64_t surface = 0;
    std::unique_ptr<DmaBufImage> luma;
    std::unique_ptr<DmaBufImage> chroma;
    std::uint64_t lastUsed = 0;
  };
  struct InFlight {
    GLsync fence = nullptr;
    std::uint64_t surface = 0;
    double hostTime = 0;
  };

  // False, with the surface given back, when it could not be drawn into.
  bool drawIntoSurface(const LayerTexture& canvas, double now);
  Imported* importOf(const Nv12DmaBuf& target, DmaBufImportError& error);
  void readBack(const LayerTexture& canvas, bool redrawn, double now);
  void finishSurfaces(bool wait);

  Nv12Converter& converter_;
  Nv12Output output_;
  std::unique_ptr<Nv12Readback> readback_;
  std::array<Imported, kKeptImports> imports_;
  std::array<InFlight, kSurfacesInFlight> inFlight_;
  std::size_t oldest_ = 0;
  std::size_t pending_ = 0;
  std::uint64_t uses_ = 0;
  bool fellBack_ = false;
};

}  // namespace tavorin

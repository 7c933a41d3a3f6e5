#pragma once

#include "platform/gl/GLContext.h"
#include "platform/gl/GLObjects.h"
#include "platform/gpu/Gpu.h"

namespace tavorin {

// The GPU through OpenGL 3.3 core or GLES 3.0 on the process's context. The
// only place that calls GL for the compositor, the thumbnails and the filters.
class GLGpu final : public Gpu {
 public:
  explicit GLGpu(const GLContext& context);

  const GpuCaps& caps() const override { return caps_; }
  std::unique_ptr<GpuTexture> createTexture(const GpuTextureParams& params) override;
  bool upload(GpuTexture& texture, const std::uint8_t* rows, std::size_t rowBytes) override;
  std::unique_ptr<GpuPass> createPass(const GpuPassParams& params) override;
  void run(const GpuPassRun& run) override;
  void clear(const GpuTexture* target, std::array<float, 4> rgba) override;
  std::unique_ptr<GpuDownload> createDownload(std::size_t bytes) override;
  void startDownload(const GpuTexture& from, GpuDownload& into, std::size_t rowBytes) override;
  bool downloaded(GpuDownload& download, bool wait) override;
  bool readDownload(GpuDownload& download, std::span<std::uint8_t> into) override;
  void flush() override;
  void finish() override;

  // A bgra8 texture that code not yet speaking through this layer owns: used
  // as a pass's input or target, never deleted here.
  std::unique_ptr<GpuTexture> borrow(std::uint64_t name, int width, int height);

 private:
  const GLContext& context_;
  GpuCaps caps_;
  // Passes make their vertices from gl_VertexID, but core GL draws only with a vertex array bound.
  GLVertexArray emptyVertexArray_;
};

}  // namespace tavorin

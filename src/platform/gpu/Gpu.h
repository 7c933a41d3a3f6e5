#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tavorin {

// The GPU as the compositor, the thumbnails and the filters see it: textures,
// render passes and copies between the GPU and the host, described by plain
// parameter structs. One implementation per graphics API holds every call of
// that API (GLGpu today). Everything here runs on the one thread that has the
// GPU context current.

// How a texture stores its texels.
enum class GpuFormat {
  bgra8,  // the frames' own B, G, R, A bytes; passes sample and write them as rgba
  r8,     // one 8-bit channel: masks, luma
  rg8,    // two 8-bit channels: interleaved chroma
};

enum class GpuSampling { linear, nearest };
enum class GpuWrap { clamp, repeat };

struct GpuTextureParams {
  int width = 0;   // texels; set by the creator, never changed
  int height = 0;
  GpuFormat format = GpuFormat::bgra8;
  // May be the target of a render pass (the creator says so up front: the
  // implementation attaches it to a framebuffer once).
  bool renderable = false;
  GpuSampling sampling = GpuSampling::linear;  // how a pass reads between texels
  GpuWrap wrap = GpuWrap::clamp;               // what a pass reads beyond the edges
  // Tightly packed rows to start with; undefined contents without. Read
  // during creation only, not kept.
  const std::uint8_t* initialData = nullptr;
};

class GpuTexture {
 public:
  virtual ~GpuTexture() = default;
  GpuTexture(const GpuTexture&) = delete;
  GpuTexture& operator=(const GpuTexture&) = delete;

  const GpuTextureParams& params() const { return params_; }  // initialData is null here
  int width() const { return params_.width; }
  int height() const { return params_.height; }
  // The API's own name for it, for code that hands it to another user of the
  // same context group (the window's scene graph); 0 when it has none.
  virtual std::uint64_t nativeHandle() const = 0;

 protected:
  explicit GpuTexture(GpuTextureParams params) : params_(params) { params_.initialData = nullptr; }

 private:
  GpuTextureParams params_;
};

enum class GpuUniformType { float1, float2, float4, mat4, float4Array };

// One value a pass's shaders read. Set by the pass's creator.
struct GpuUniform {
  std::string name;  // as declared in the shader
  GpuUniformType type = GpuUniformType::float1;
  int count = 1;  // elements of a float4Array; 1 otherwise
};

// How a pass's output meets what the target holds.
enum class GpuBlend {
  replace,             // written as it is
  premultipliedOver,   // source + target × (1 − source alpha), colour and alpha alike
};

struct GpuPassParams {
  std::string name;  // names the pass in a build failure ("quad_vertex/quad_fragment")
  // GLSL bodies without a version line: the implementation puts its own
  // (and precisions where the API needs them) ahead of each.
  std::string vertexShader;
  std::string fragmentShader;
  std::string fragmentDefines;  // "#define" lines put ahead of the fragment body
  // The values each run gives, in this order (packed as floats).
  std::vector<GpuUniform> uniforms;
  // The sampler uniforms, bound in this order to the textures each run gives.
  std::vector<std::string> samplers;
  GpuBlend blend = GpuBlend::replace;
};

class GpuPass {
 public:
  virtual ~GpuPass() = default;
  GpuPass(const GpuPass&) = delete;
  GpuPass& operator=(const GpuPass&) = delete;
  const GpuPassParams& params() const { return params_; }
  // Floats one run gives, all uniforms packed in order.
  std::size_t uniformFloats() const { return floats_; }

 protected:
  explicit GpuPass(GpuPassParams params);

 private:
  GpuPassParams params_;
  std::size_t floats_ = 0;
};

struct GpuRect {
  int x = 0;
  int y = 0;
  int width = 0;  // 0: the whole target
  int height = 0;
};

// One draw of a pass. Set by its caller for each run.
struct GpuPassRun {
  const GpuPass* pass = nullptr;
  // Null: the framebuffer the caller made current itself (a window's).
  const GpuTexture* target = nullptr;
  GpuRect viewport;
  // One per sampler of the pass; null leaves that unit empty.
  std::span<const GpuTexture* const> textures;
  // uniformFloats() values, in the pass's uniform order.
  std::span<const float> uniforms;
  // Vertices drawn with no vertex buffer: the shader makes them from gl_VertexID.
  int vertexCount = 6;
};

// Host memory the GPU copies a texture into, read once the copy has landed.
class GpuDownload {
 public:
  virtual ~GpuDownload() = default;
  std::size_t bytes() const { return bytes_; }

 protected:
  explicit GpuDownload(std::size_t bytes) : bytes_(bytes) {}

 private:
  std::size_t bytes_;
};

// What this GPU can do beyond the basics.
struct GpuCaps {
  int maxTextureSize = 0;
};

class Gpu {
 public:
  virtual ~Gpu() = default;

  virtual const GpuCaps& caps() const = 0;

  // Null when the GPU cannot make it (out of memory, too large).
  virtual std::unique_ptr<GpuTexture> createTexture(const GpuTextureParams& params) = 0;
  // Replaces every texel with host rows `rowBytes` apart, staged so the copy
  // never waits on a pass still reading the old contents. False on failure.
  virtual bool upload(GpuTexture& texture, const std::uint8_t* rows, std::size_t rowBytes) = 0;

  // Throws GLFailure (the compiler's log after "Failed to create pipeline
  // NAME: ") when the shaders do not build.
  virtual std::unique_ptr<GpuPass> createPass(const GpuPassParams& params) = 0;
  virtual void run(const GpuPassRun& run) = 0;
  // Fills the target (or the caller's current framebuffer) with one colour, straight rgba.
  virtual void clear(const GpuTexture* target, std::array<float, 4> rgba) = 0;

  // Room for `bytes` of texels on the host side.
  virtual std::unique_ptr<GpuDownload> createDownload(std::size_t bytes) = 0;
  // Starts copying the texture into `into`, rows `rowBytes` apart, top row of
  // the texture's storage first; returns at once.
  virtual void startDownload(const GpuTexture& from, GpuDownload& into, std::size_t rowBytes) = 0;
  // Whether the copy has landed; with `wait`, waits for it (up to 10 s: a GPU that long behind has hung).
  virtual bool downloaded(GpuDownload& download, bool wait) = 0;
  // Copies the landed texels to `into`; false when they cannot be read.
  virtual bool readDownload(GpuDownload& download, std::span<std::uint8_t> into) = 0;

  // Sends what was recorded to the GPU without waiting for it.
  virtual void flush() = 0;
  // Waits until the GPU has done all that was recorded: for benchmarks and
  // tests, never the frame clock.
  virtual void finish() = 0;
};

}  // namespace tavorin

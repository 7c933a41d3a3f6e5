#include "platform/gpu/GLGpu.h"

#include <cstring>
#include <utility>

#include "platform/gl/GLProgram.h"

namespace tavorin {

namespace {

struct FormatInfo {
  GLenum internal;
  GLenum format;
  int bytes;  // per texel
};

FormatInfo formatInfo(GpuFormat format) {
  switch (format) {
    case GpuFormat::bgra8:
      // Stored as the bytes come (B, G, R, A in r, g, b, a) and swizzled on sampling.
      return {GL_RGBA8, GL_RGBA, 4};
    case GpuFormat::r8:
      return {GL_R8, GL_RED, 1};
    case GpuFormat::rg8:
      return {GL_RG8, GL_RG, 2};
  }
  return {GL_RGBA8, GL_RGBA, 4};
}

class GLGpuTexture final : public GpuTexture {
 public:
  explicit GLGpuTexture(const GpuTextureParams& params) : GpuTexture(params) {}
  ~GLGpuTexture() override {
    if (borrowed) static_cast<void>(texture.release());
  }
  std::uint64_t nativeHandle() const override { return texture.get(); }

  bool borrowed = false;
  GLTexture texture;
  GLFramebuffer framebuffer;  // when renderable
  GLBuffer unpack;            // made on the first upload
};

class GLGpuPass final : public GpuPass {
 public:
  GLGpuPass(const GpuPassParams& params, GLProgramHandle built) : GpuPass(params), program(std::move(built)) {}

  GLProgramHandle program;
  std::vector<GLint> locations;  // one per uniform
};

class GLGpuDownload final : public GpuDownload {
 public:
  explicit GLGpuDownload(std::size_t bytes) : GpuDownload(bytes) {}
  ~GLGpuDownload() override {
    if (fence != nullptr) glDeleteSync(fence);
  }

  GLBuffer pack;
  GLsync fence = nullptr;
};

const GLGpuTexture& native(const GpuTexture& texture) { return static_cast<const GLGpuTexture&>(texture); }

void bindTarget(const GpuTexture* target) {
  if (target != nullptr) glBindFramebuffer(GL_FRAMEBUFFER, native(*target).framebuffer.get());
}

}  // namespace

GLGpu::GLGpu(const GLContext& context) : context_(context), emptyVertexArray_(makeVertexArray()) {
  GLint size = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  caps_.maxTextureSize = size;
}

std::unique_ptr<GpuTexture> GLGpu::createTexture(const GpuTextureParams& params) {
  if (params.width <= 0 || params.height <= 0 || params.width > caps_.maxTextureSize ||
      params.height > caps_.maxTextureSize) {
    return nullptr;
  }
  auto texture = std::make_unique<GLGpuTexture>(params);
  texture->texture = makeTexture();
  const FormatInfo info = formatInfo(params.format);
  glBindTexture(GL_TEXTURE_2D, texture->texture.get());
  if (params.initialData != nullptr) {
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  }
  glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(info.internal), params.width, params.height, 0, info.format,
               GL_UNSIGNED_BYTE, params.initialData);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  const GLint filter = params.sampling == GpuSampling::linear ? GL_LINEAR : GL_NEAREST;
  const GLint wrap = params.wrap == GpuWrap::clamp ? GL_CLAMP_TO_EDGE : GL_REPEAT;
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
  if (params.format == GpuFormat::bgra8) {
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_R, GL_BLUE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_SWIZZLE_B, GL_RED);
  }
  glBindTexture(GL_TEXTURE_2D, 0);
  if (params.renderable) {
    texture->framebuffer = makeFramebuffer();
    glBindFramebuffer(GL_FRAMEBUFFER, texture->framebuffer.get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture->texture.get(), 0);
    const bool complete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (!complete) return nullptr;
  }
  return texture;
}

bool GLGpu::upload(GpuTexture& target, const std::uint8_t* rows, std::size_t rowBytes) {
  auto& texture = static_cast<GLGpuTexture&>(target);
  const FormatInfo info = formatInfo(texture.params().format);
  if (rows == nullptr || rowBytes % static_cast<std::size_t>(info.bytes) != 0 ||
      rowBytes < static_cast<std::size_t>(texture.width() * info.bytes)) {
    return false;
  }
  if (!texture.unpack) texture.unpack = makeBuffer();
  const auto bytes = static_cast<GLsizeiptr>(rowBytes * static_cast<std::size_t>(texture.height()));
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, texture.unpack.get());
  // Orphaning gives fresh storage, so the copy never waits on an upload still in flight.
  glBufferData(GL_PIXEL_UNPACK_BUFFER, bytes, nullptr, GL_STREAM_DRAW);
  void* mapped = glMapBufferRange(GL_PIXEL_UNPACK_BUFFER, 0, bytes, GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_BUFFER_BIT);
  if (mapped == nullptr) {
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    return false;
  }
  std::memcpy(mapped, rows, static_cast<std::size_t>(bytes));
  glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
  glBindTexture(GL_TEXTURE_2D, texture.texture.get());
  glPixelStorei(GL_UNPACK_ALIGNMENT, info.bytes == 4 ? 4 : 1);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<GLint>(rowBytes / static_cast<std::size_t>(info.bytes)));
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, texture.width(), texture.height(), info.format, GL_UNSIGNED_BYTE, nullptr);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glBindTexture(GL_TEXTURE_2D, 0);
  glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
  return true;
}

std::unique_ptr<GpuPass> GLGpu::createPass(const GpuPassParams& params) {
  // The name reads "vertex/fragment" as the build failure says it.
  const auto slash = params.name.find('/');
  const std::string vertexName = params.name.substr(0, slash);
  const std::string fragmentName = slash == std::string::npos ? params.name : params.name.substr(slash + 1);
  auto pass = std::make_unique<GLGpuPass>(
      params, buildProgram(context_, vertexName, params.vertexShader.c_str(), fragmentName,
                           params.fragmentShader.c_str(), params.fragmentDefines));
  const GLuint program = pass->program.get();
  for (const GpuUniform& uniform : params.uniforms) {
    pass->locations.push_back(glGetUniformLocation(program, uniform.name.c_str()));
  }
  glUseProgram(program);
  for (std::size_t unit = 0; unit < params.samplers.size(); ++unit) {
    if (const GLint at = glGetUniformLocation(program, params.samplers[unit].c_str()); at >= 0) {
      glUniform1i(at, static_cast<GLint>(unit));
    }
  }
  glUseProgram(0);
  return pass;
}

void GLGpu::run(const GpuPassRun& run) {
  const auto& pass = static_cast<const GLGpuPass&>(*run.pass);
  bindTarget(run.target);
  if (run.viewport.width > 0 && run.viewport.height > 0) {
    glViewport(run.viewport.x, run.viewport.y, run.viewport.width, run.viewport.height);
  } else if (run.target != nullptr) {
    glViewport(0, 0, run.target->width(), run.target->height());
  }
  glBindVertexArray(emptyVertexArray_.get());
  if (pass.params().blend == GpuBlend::premultipliedOver) {
    glEnable(GL_BLEND);
    glBlendEquation(GL_FUNC_ADD);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
  } else {
    glDisable(GL_BLEND);
  }
  glUseProgram(pass.program.get());
  const float* value = run.uniforms.data();
  const auto& uniforms = pass.params().uniforms;
  for (std::size_t i = 0; i < uniforms.size(); ++i) {
    const GLint at = pass.locations[i];
    switch (uniforms[i].type) {
      case GpuUniformType::float1:
        glUniform1f(at, value[0]);
        value += 1;
        break;
      case GpuUniformType::float2:
        glUniform2fv(at, 1, value);
        value += 2;
        break;
      case GpuUniformType::float4:
        glUniform4fv(at, 1, value);
        value += 4;
        break;
      case GpuUniformType::mat4:
        glUniformMatrix4fv(at, 1, GL_FALSE, value);
        value += 16;
        break;
      case GpuUniformType::float4Array:
        glUniform4fv(at, uniforms[i].count, value);
        value += 4 * uniforms[i].count;
        break;
    }
  }
  // Highest unit first, so unit 0 is left active as the rest of the code expects.
  for (std::size_t unit = run.textures.size(); unit-- > 0;) {
    glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
    glBindTexture(GL_TEXTURE_2D, run.textures[unit] != nullptr ? native(*run.textures[unit]).texture.get() : 0);
  }
  glDrawArrays(GL_TRIANGLES, 0, run.vertexCount);
}

void GLGpu::clear(const GpuTexture* target, std::array<float, 4> rgba) {
  bindTarget(target);
  glClearColor(rgba[0], rgba[1], rgba[2], rgba[3]);
  glClear(GL_COLOR_BUFFER_BIT);
}

std::unique_ptr<GpuDownload> GLGpu::createDownload(std::size_t bytes) {
  auto download = std::make_unique<GLGpuDownload>(bytes);
  download->pack = makeBuffer();
  glBindBuffer(GL_PIXEL_PACK_BUFFER, download->pack.get());
  glBufferData(GL_PIXEL_PACK_BUFFER, static_cast<GLsizeiptr>(bytes), nullptr, GL_STREAM_READ);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  return download;
}

void GLGpu::startDownload(const GpuTexture& from, GpuDownload& into, std::size_t rowBytes) {
  auto& download = static_cast<GLGpuDownload&>(into);
  const auto& texture = native(from);
  const FormatInfo info = formatInfo(texture.params().format);
  if (download.fence != nullptr) glDeleteSync(download.fence);
  download.fence = nullptr;
  if (!texture.framebuffer || rowBytes * static_cast<std::size_t>(texture.height()) > download.bytes()) return;
  glBindFramebuffer(GL_READ_FRAMEBUFFER, texture.framebuffer.get());
  glBindBuffer(GL_PIXEL_PACK_BUFFER, download.pack.get());
  glPixelStorei(GL_PACK_ALIGNMENT, info.bytes == 4 ? 4 : 1);
  glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(rowBytes / static_cast<std::size_t>(info.bytes)));
  // A bgra8 texture holds B, G, R, A bytes in its "rgba": read as stored, that is the frames' layout.
  glReadPixels(0, 0, texture.width(), texture.height(), info.format, GL_UNSIGNED_BYTE, nullptr);
  glPixelStorei(GL_PACK_ROW_LENGTH, 0);
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, 0);
  download.fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
  glFlush();
}

bool GLGpu::downloaded(GpuDownload& into, bool wait) {
  auto& download = static_cast<GLGpuDownload&>(into);
  return download.fence != nullptr && fencePassed(download.fence, wait);
}

bool GLGpu::readDownload(GpuDownload& into, std::span<std::uint8_t> bytes) {
  auto& download = static_cast<GLGpuDownload&>(into);
  if (!downloaded(download, false)) return false;
  glDeleteSync(download.fence);
  download.fence = nullptr;
  const auto size = static_cast<GLsizeiptr>(std::min(bytes.size(), download.bytes()));
  glBindBuffer(GL_PIXEL_PACK_BUFFER, download.pack.get());
  const void* mapped = glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, size, GL_MAP_READ_BIT);
  if (mapped != nullptr) {
    std::memcpy(bytes.data(), mapped, static_cast<std::size_t>(size));
    glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
  }
  glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
  return mapped != nullptr;
}

void GLGpu::flush() { glFlush(); }

void GLGpu::finish() { glFinish(); }

std::unique_ptr<GpuTexture> GLGpu::borrow(std::uint64_t name, int width, int height) {
  GpuTextureParams params;
  params.width = width;
  params.height = height;
  auto texture = std::make_unique<GLGpuTexture>(params);
  texture->texture = GLTexture(static_cast<GLuint>(name));
  texture->borrowed = true;
  return texture;
}

}  // namespace tavorin

#include "platform/gpu/Gpu.h"

namespace tavorin {

GpuPass::GpuPass(GpuPassParams params) : params_(std::move(params)) {
  for (const GpuUniform& uniform : params_.uniforms) {
    switch (uniform.type) {
      case GpuUniformType::float1: floats_ += 1; break;
      case GpuUniformType::float2: floats_ += 2; break;
      case GpuUniformType::float4: floats_ += 4; break;
      case GpuUniformType::mat4: floats_ += 16; break;
      case GpuUniformType::float4Array: floats_ += 4 * static_cast<std::size_t>(uniform.count); break;
    }
  }
}

}  // namespace tavorin

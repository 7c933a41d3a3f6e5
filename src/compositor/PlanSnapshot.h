#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "base/PixelBuffer.h"
#include "compositor/GLCompositor.h"
#include "compositor/SourceTextureCache.h"

namespace tavorin {

// The newest frame of a source by id, or null.
using FrameLookup = std::function<FrameRef(const std::string& sourceID)>;

// A frame provider that uploads each layer's source frame through `cache`.
FrameProvider makeFrameProvider(SourceTextureCache& cache, FrameLookup lookup);

// Composes one plan at the compositor's canvas size and waits for the GPU:
// for snapshots and tests, never for the frame clock. Null on failure.
PixelBufferRef composeOnce(GLCompositor& compositor, SourceTextureCache& cache, const RenderPlan& plan,
                           const FrameLookup& lookup);

// Composes a plan and writes it as a PNG file. False with `error` set on failure.
bool writePlanPNG(GLCompositor& compositor, SourceTextureCache& cache, const RenderPlan& plan,
                  const FrameLookup& lookup, const std::filesystem::path& path, std::string* error = nullptr);

}  // namespace tavorin

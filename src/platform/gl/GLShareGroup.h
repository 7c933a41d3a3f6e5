#pragma once

namespace tavorin {

// Another GL user's EGL display and context (a window toolkit's), whose
// textures and fences ours may share. Plain pointers, as EGL's handles are,
// so a toolkit that brings its own GL headers can fill it in.
struct GLShareGroup {
  void* display = nullptr;
  void* context = nullptr;
};

}  // namespace tavorin

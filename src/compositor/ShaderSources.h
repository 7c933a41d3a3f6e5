#pragma once

// GLSL sources of the compositor, embedded from the shaders folder at build time.
namespace tavorin::shaders {

extern const char* const quad_vertex;
extern const char* const quad_fragment;
extern const char* const decoration_vertex;
extern const char* const shadow_fragment;
extern const char* const blur_vertex;
extern const char* const blur_fragment;
extern const char* const nv12_fragment;
extern const char* const filter_vertex;
extern const char* const filter_fragment;
extern const char* const filter_blur_fragment;

}  // namespace tavorin::shaders

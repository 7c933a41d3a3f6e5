// One layer: crop and flips, chroma or person key, rounded shape with an
// inner border, polygon mask and opacity. Sources are premultiplied; so is
// the output. Colour targets hold bytes in B, G, R, A order.
//
// Built in variants: each effect a layer does not use is compiled out, since
// on a software rasteriser every instruction is paid per pixel.
//   CHROMA_KEY, PERSON_KEY, ROUNDED, BORDER, POLYGON_MASK, FLIPS
uniform vec4 uParams[10];  // crop, misc, corners, borderColor, keyParams, keyColor, pinTop, pinBottom, pinQ, maskParams
uniform sampler2D uSource;       // colour source (swizzled to rgba on sampling)
uniform sampler2D uPersonMask;   // single channel, red
uniform sampler2D uPolygonMask;  // single channel, red, 1024 x 1024

in vec3 vQuad;
out vec4 fragColor;

#if ROUNDED
// Signed distance to a rounded box of half-extents `halfExtent` with
// per-quadrant radii (x: top right, y: bottom right, z: top left, w: bottom
// left); y grows downward.
float boxDistance(vec2 p, vec2 halfExtent, vec4 radii) {
  float r = p.x >= 0.0 ? (p.y < 0.0 ? radii.x : radii.y) : (p.y < 0.0 ? radii.z : radii.w);
  r = clamp(r, 0.0, min(halfExtent.x, halfExtent.y));
  vec2 q = abs(p) - halfExtent + r;
  return length(max(q, 0.0)) + min(max(q.x, q.y), 0.0) - r;
}
#else
float boxDistance(vec2 p, vec2 halfExtent, vec4 radii) {
  vec2 q = abs(p) - halfExtent;
  return max(q.x, q.y);
}
#endif

#if CHROMA_KEY
vec2 chroma(vec3 rgb) {
  float y = dot(rgb, vec3(0.2126, 0.7152, 0.0722));
  return vec2((rgb.b - y) / 1.8556, (rgb.r - y) / 1.5748);
}
#endif

void main() {
  vec4 crop = uParams[0];
  vec4 misc = uParams[1];
  vec2 uv = vQuad.xy / vQuad.z;

  vec2 image = uv;
#if FLIPS
  // The image mirrors in place, inside its crop.
  if (mod(misc.w, 2.0) >= 1.0) image.x = 1.0 - image.x;
  if (misc.w >= 2.0) image.y = 1.0 - image.y;
#endif
  vec2 texel = crop.zw + image * crop.xy;
  vec4 color = texture(uSource, texel);

#if CHROMA_KEY || PERSON_KEY
  vec4 keyParams = uParams[4];
  vec3 straight = color.a > 0.0 ? color.rgb / color.a : vec3(0.0);
#if CHROMA_KEY
  float threshold = keyParams.y;
  float softness = max(keyParams.z, 0.0001);
  float keyDistance = length(chroma(straight) - chroma(uParams[5].rgb));
  float keep = smoothstep(threshold, threshold + softness, keyDistance);
  // Spill: what stays close to the key loses that tint towards grey.
  float spill = 1.0 - smoothstep(threshold, threshold + softness + 0.15, keyDistance);
  straight = mix(straight, vec3(dot(straight, vec3(0.2126, 0.7152, 0.0722))), spill * 0.6);
#else
  float personSoftness = keyParams.z;
  float keep = smoothstep(0.5 - 0.5 * personSoftness, 0.5 + 0.5 * personSoftness + 0.0001,
                          texture(uPersonMask, texel).r);
#endif
  float alpha = color.a * keep;
  color = vec4(straight * alpha, alpha);
#endif

  // Shape in units of the box's height, origin at its centre; the edge is
  // anti-aliased over one pixel.
  float aspect = misc.z;
  vec2 p = vec2((uv.x - 0.5) * aspect, uv.y - 0.5);
  float distance = boxDistance(p, vec2(0.5 * aspect, 0.5), uParams[2]);
  float pixel = max(fwidth(distance), 1e-6);
  float coverage = clamp(0.5 - distance / pixel, 0.0, 1.0);

#if BORDER
  vec4 borderColor = uParams[3];
  float inBorder = clamp(0.5 + (distance + misc.y) / pixel, 0.0, 1.0);
  color = mix(color, vec4(borderColor.rgb * borderColor.a, borderColor.a), inBorder);
#endif

#if POLYGON_MASK
  float inside = texture(uPolygonMask, uv).r;
  coverage *= uParams[9].x < 1.5 ? 1.0 - inside : inside;
#endif

  fragColor = (color * (coverage * misc.x)).bgra;
}

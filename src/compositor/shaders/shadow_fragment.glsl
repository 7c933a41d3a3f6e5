// A layer's soft shadow: its rounded box, moved by the offset and blurred
// over the radius with a Gaussian falloff.
uniform vec4 uParams[4];  // color, params (aspect, radius, pad), offset, corners

in vec2 vQuad;
out vec4 fragColor;

float roundedBoxDistance(vec2 p, vec2 halfExtent, vec4 radii) {
  float r = p.x >= 0.0 ? (p.y < 0.0 ? radii.x : radii.y) : (p.y < 0.0 ? radii.z : radii.w);
  r = clamp(r, 0.0, min(halfExtent.x, halfExtent.y));
  vec2 q = abs(p) - halfExtent + r;
  return length(max(q, 0.0)) + min(max(q.x, q.y), 0.0) - r;
}

// Abramowitz and Stegun 7.1.26, ample for a falloff.
float erfApprox(float x) {
  float s = sign(x);
  x = abs(x);
  float t = 1.0 / (1.0 + 0.3275911 * x);
  float y = 1.0 - (((((1.061405429 * t - 1.453152027) * t) + 1.421413741) * t - 0.284496736) * t + 0.254829592) * t * exp(-x * x);
  return s * y;
}

void main() {
  vec4 color = uParams[0];
  float aspect = uParams[1].x;
  float radius = uParams[1].y;
  float pad = uParams[1].z;
  // The offset's y arrives negated (y up); the box frame here has y down.
  vec2 offset = vec2(uParams[2].x, -uParams[2].y);
  vec2 p = vec2((2.0 * vQuad.x - 1.0) * (0.5 * aspect + pad), (2.0 * vQuad.y - 1.0) * (0.5 + pad));
  float distance = roundedBoxDistance(p - offset, vec2(0.5 * aspect, 0.5), uParams[3]);
  float sigma = max(radius * 0.5, 0.0001);
  // Beyond three sigmas the falloff is flat; most of a large shadow is there.
  float scaled = distance / (sigma * 1.41421356);
  float coverage = scaled <= -2.2 ? 1.0 : (scaled >= 2.2 ? 0.0 : 0.5 - 0.5 * erfApprox(scaled));
  fragColor = (vec4(color.rgb, 1.0) * color.a * coverage).bgra;
}

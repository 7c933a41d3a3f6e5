// One layer: crop and flips, chroma or person key, rounded shape with an
// inner border, polygon mask and opacity. Sources are premultiplied; so is
// the output. Colour targets hold bytes in B, G, R, A order.
uniform vec4 uParams[10];
uniform sampler2D uSource;       // colour source (already swizzled to rgba on sampling)
uniform sampler2D uPersonMask;   // single channel, red
uniform sampler2D uPolygonMask;  // single channel, red, 1024 x 1024

in vec3 vQuad;
out vec4 fragColor;

// Signed distance to a rounded box of half-extents `half` with per-quadrant
// radii (x: top right, y: bottom right, z: top left, w: bottom left); y grows downward.
float roundedBoxDistance(vec2 p, vec2 halfExtent, vec4 radii) {
  float r = p.x >= 0.0 ? (p.y < 0.0 ? radii.x : radii.y) : (p.y < 0.0 ? radii.z : radii.w);
  r = clamp(r, 0.0, min(halfExtent.x, halfExtent.y));
  vec2 q = abs(p) - halfExtent + r;
  return length(max(q, 0.0)) + min(max(q.x, q.y), 0.0) - r;
}

vec2 chroma(vec3 rgb) {
  float y = dot(rgb, vec3(0.2126, 0.7152, 0.0722));
  return vec2((rgb.b - y) / 1.8556, (rgb.r - y) / 1.5748);
}

void main() {
  vec4 crop = uParams[0];
  vec4 misc = uParams[1];
  vec4 keyParams = uParams[4];
  vec2 uv = vQuad.xy / vQuad.z;

  // The image mirrors in place, inside its crop.
  float flips = misc.w;
  vec2 image = uv;
  if (mod(flips, 2.0) >= 1.0) image.x = 1.0 - image.x;
  if (flips >= 2.0) image.y = 1.0 - image.y;
  vec2 texel = crop.zw + image * crop.xy;
  vec4 color = texture(uSource, texel);

  float keyMode = keyParams.x;
  if (keyMode > 0.5) {
    float keep;
    vec3 straight = color.a > 0.0 ? color.rgb / color.a : vec3(0.0);
    if (keyMode < 1.5) {
      float threshold = keyParams.y;
      float softness = max(keyParams.z, 0.0001);
      float distance = length(chroma(straight) - chroma(uParams[5].rgb));
      keep = smoothstep(threshold, threshold + softness, distance);
      // Spill: what stays close to the key loses that tint towards grey.
      float spill = 1.0 - smoothstep(threshold, threshold + softness + 0.15, distance);
      float luma = dot(straight, vec3(0.2126, 0.7152, 0.0722));
      straight = mix(straight, vec3(luma), spill * 0.6);
    } else {
      float softness = keyParams.z;
      float mask = texture(uPersonMask, texel).r;
      keep = smoothstep(0.5 - 0.5 * softness, 0.5 + 0.5 * softness + 0.0001, mask);
    }
    float alpha = color.a * keep;
    color = vec4(straight * alpha, alpha);
  }

  // Shape in units of the box's height, origin at its centre.
  float aspect = misc.z;
  vec2 p = vec2((uv.x - 0.5) * aspect, uv.y - 0.5);
  float distance = roundedBoxDistance(p, vec2(0.5 * aspect, 0.5), uParams[2]);
  float pixel = max(fwidth(distance), 1e-6);
  float coverage = clamp(0.5 - distance / pixel, 0.0, 1.0);

  float border = misc.y;
  if (border > 0.001) {
    vec4 borderColor = uParams[3];
    float inBorder = clamp(0.5 + (distance + border) / pixel, 0.0, 1.0);
    color = mix(color, vec4(borderColor.rgb * borderColor.a, borderColor.a), inBorder);
  }

  float maskMode = uParams[9].x;
  if (maskMode > 0.5) {
    float inside = texture(uPolygonMask, uv).r;
    coverage *= maskMode < 1.5 ? 1.0 - inside : inside;
  }

  fragColor = (color * (coverage * misc.x)).bgra;
}

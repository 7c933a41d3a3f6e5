// One filter of a layer's stack over the whole picture (KIND picks it).
// Stored pixels are premultiplied and sRGB-encoded; every filter works in
// linear light, colour filters on straight colour (so semi-transparent edges
// keep their shade), the others on premultiplied colour, and the result is
// premultiplied and encoded again. Rows count from the top of the picture;
// filters described with y growing upward (scanlines, vhs) turn it first.
#define BW 0
#define COLOR_CONTROLS 1
#define EXPOSURE 2
#define HUE 3
#define TEMPERATURE 4
#define GAMMA 5
#define VIBRANCE 6
#define SEPIA 7
#define INVERT 8
#define POSTERIZE 9
#define VIGNETTE 10
#define SHARPEN 12
#define PIXELLATE 13
#define BLOOM 14
#define BARN_DOOR 15
#define SCANLINES 16
#define CHROMA_SHIFT 17
#define VHS 18

uniform sampler2D uSource;
uniform sampler2D uBlurred;  // the source blurred, for SHARPEN and BLOOM
uniform vec4 uParams[2];     // the kind's values, in its parameter order
uniform vec2 uSize;          // the picture in pixels
uniform float uTime;         // seconds, for VHS

out vec4 fragColor;

const vec3 kLuma = vec3(0.2126, 0.7152, 0.0722);

vec3 toLinear(vec3 c) { return mix(c / 12.92, pow((c + 0.055) / 1.055, vec3(2.4)), step(0.04045, c)); }
vec3 toEncoded(vec3 c) { return mix(c * 12.92, 1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, step(0.0031308, c)); }

// Premultiplied linear colour of a texture at a position in pixels (clamped to the picture).
vec4 premultipliedAt(sampler2D image, vec2 p) {
  vec4 c = texture(image, clamp(p, vec2(0.5), uSize - 0.5) / uSize);
  if (c.a <= 0.0) return vec4(0.0);
  return vec4(toLinear(clamp(c.rgb / c.a, 0.0, 1.0)) * c.a, c.a);
}

vec4 encodePremultiplied(vec4 c) {
  float a = clamp(c.a, 0.0, 1.0);
  if (a <= 0.0) return vec4(0.0);
  return vec4(toEncoded(clamp(c.rgb / a, 0.0, 1.0)) * a, a);
}

float tvrand(vec2 v) { return fract(sin(dot(v, vec2(12.9898, 78.233))) * 43758.5453); }

// Rotation of colours about the grey axis by `angle` radians.
vec3 rotateHue(vec3 c, float angle) {
  const vec3 k = vec3(0.57735026);
  float cosA = cos(angle);
  return c * cosA + cross(k, c) * sin(angle) + k * dot(k, c) * (1.0 - cosA);
}

// The linear RGB of white under a black body at `kelvin` (Planckian locus after
// Kim et al., xy to XYZ to linear sRGB), scaled to luminance 1.
vec3 whiteAt(float kelvin) {
  float t = clamp(kelvin, 1667.0, 25000.0);
  float t2 = t * t, t3 = t2 * t;
  float x = t <= 4000.0 ? -0.2661239e9 / t3 - 0.2343589e6 / t2 + 0.8776956e3 / t + 0.179910
                        : -3.0258469e9 / t3 + 2.1070379e6 / t2 + 0.2226347e3 / t + 0.240390;
  float x2 = x * x, x3 = x2 * x;
  float y = t <= 2222.0 ? -1.1063814 * x3 - 1.34811020 * x2 + 2.18555832 * x - 0.20219683
          : t <= 4000.0 ? -0.9549476 * x3 - 1.37418593 * x2 + 2.09137015 * x - 0.16748867
                        : 3.0817580 * x3 - 5.87338670 * x2 + 3.75112997 * x - 0.37001483;
  vec3 xyz = vec3(x / y, 1.0, (1.0 - x - y) / y);
  return mat3(3.2404542, -0.9692660, 0.0556434, -1.5371385, 1.8760108, -0.2040259, -0.4985314, 0.0415560,
              1.0572252) * xyz;
}

void main() {
  vec2 p = gl_FragCoord.xy;  // the pixel's centre, rows from the top
  vec4 pm = premultipliedAt(uSource, p);
  float a = pm.a;
  vec3 rgb = a > 0.0 ? pm.rgb / a : vec3(0.0);  // straight linear colour
  vec4 P0 = uParams[0], P1 = uParams[1];
#if KIND == BW
  // Luminance, then a gentle S curve for the printed-photo contrast of a mono effect.
  float y = dot(rgb, kLuma);
  rgb = vec3(mix(y, smoothstep(0.0, 1.0, y), 0.25));
#elif KIND == COLOR_CONTROLS
  // brightness, contrast, saturation: saturation about the luminance, brightness added, contrast about 0.5.
  rgb = mix(vec3(dot(rgb, kLuma)), rgb, P0.z);
  rgb += P0.x;
  rgb = (rgb - 0.5) * P0.y + 0.5;
#elif KIND == EXPOSURE
  rgb *= exp2(P0.x);
#elif KIND == HUE
  rgb = rotateHue(rgb, radians(P0.x));
#elif KIND == TEMPERATURE
  // The picture's white (6500 K) becomes the white of the target: a warmer
  // target neutral (a higher temperature) is taken out, so the picture warms.
  vec3 target = whiteAt(P0.x);
  target.g *= 1.0 - 0.0015 * P0.y;  // tint: positive is magenta in the light, so green is added back
  vec3 gain = whiteAt(6500.0) / target;
  rgb *= gain / dot(gain, kLuma);
#elif KIND == GAMMA
  rgb = pow(max(rgb, 0.0), vec3(P0.x));
#elif KIND == VIBRANCE
  // Saturation raised most where it is lowest (and lowered likewise for negative amounts).
  float mx = max(rgb.r, max(rgb.g, rgb.b));
  float mean = (rgb.r + rgb.g + rgb.b) / 3.0;
  rgb = mix(rgb, vec3(mx), (mx - mean) * -3.0 * P0.x);
#elif KIND == SEPIA
  vec3 sepia = mat3(0.393, 0.349, 0.272, 0.769, 0.686, 0.534, 0.189, 0.168, 0.131) * rgb;
  rgb = mix(rgb, sepia, P0.x);
#elif KIND == INVERT
  rgb = 1.0 - rgb;
#elif KIND == POSTERIZE
  float levels = max(P0.x, 2.0);
  rgb = floor(rgb * levels + 0.5) / levels;
#elif KIND == VIGNETTE
  // Darker towards the corners: the distance from the middle over half the
  // diagonal, against the radius, squared and scaled by the intensity.
  float d = length(p - uSize * 0.5) / (0.5 * length(uSize));
  rgb *= clamp(1.0 - 0.5 * P0.x * pow(d / max(P0.y, 0.001), 2.0), 0.0, 1.0);
#elif KIND == SHARPEN
  // Unsharp mask on luminance only: the detail of the luminance added back, times the sharpness.
  vec4 soft = premultipliedAt(uBlurred, p);
  vec3 softStraight = soft.a > 0.0 ? soft.rgb / soft.a : vec3(0.0);
  rgb += P0.x * (dot(rgb, kLuma) - dot(softStraight, kLuma));
#elif KIND == PIXELLATE
  // Blocks of the scale's size laid from the middle of the picture; each shows its centre.
  float s = max(P0.x, 1.0);
  vec2 centre = uSize * 0.5;
  vec2 q = (floor((p - centre) / s) + 0.5) * s + centre;
  pm = premultipliedAt(uSource, q);
  a = pm.a;
  rgb = a > 0.0 ? pm.rgb / a : vec3(0.0);
#elif KIND == BLOOM
  // The glow (the picture blurred by the radius) added over it.
  vec4 glow = premultipliedAt(uBlurred, p) * P0.y;
  pm = vec4(pm.rgb + glow.rgb, min(1.0, pm.a + glow.a * (1.0 - pm.a)));
  a = pm.a;
  rgb = a > 0.0 ? pm.rgb / a : vec3(0.0);
#elif KIND == BARN_DOOR
  float c = P0.x;
  bool bar = P0.y >= 0.5 ? (p.x < c * uSize.x || p.x > uSize.x - c * uSize.x)
                         : (p.y < c * uSize.y || p.y > uSize.y - c * uSize.y);
  if (bar) {
    rgb = vec3(0.0);
    a = 1.0;
  }
#elif KIND == SCANLINES
  // Dark lines of height L from the bottom, gaps of L between, laid over the picture.
  float L = max(P0.y, 1.0);
  float up = uSize.y - p.y;
  if (mod(up, 2.0 * L) < L) {
    pm = vec4(pm.rgb * (1.0 - P0.x), P0.x + pm.a * (1.0 - P0.x));
    a = pm.a;
    rgb = a > 0.0 ? pm.rgb / a : vec3(0.0);
  }
#elif KIND == CHROMA_SHIFT
  // Red moved right and blue left by the amount; the three added, alpha with them.
  vec4 r = premultipliedAt(uSource, p - vec2(P0.x, 0.0));
  vec4 b = premultipliedAt(uSource, p + vec2(P0.x, 0.0));
  pm = vec4(r.r, pm.g, b.b, min(1.0, r.a + pm.a + b.a));
  a = pm.a;
  rgb = a > 0.0 ? pm.rgb / a : vec3(0.0);
#elif KIND == VHS
  // The tape kernel, in coordinates whose y grows upward.
  float amount = P0.x;
  float h = uSize.y;
  vec2 ci = vec2(p.x, h - p.y);
  float line = floor(ci.y);
  float wob = (tvrand(vec2(line, floor(uTime * 12.0))) - 0.5) * amount * 6.0;
  vec2 at = vec2(ci.x + wob, ci.y);
  float sh = amount * 2.5;
  vec4 c = premultipliedAt(uSource, vec2(at.x, h - at.y));
  float red = premultipliedAt(uSource, vec2(at.x + sh, h - at.y)).r;
  float blue = premultipliedAt(uSource, vec2(at.x - sh, h - at.y)).b;
  vec3 col = vec3(red, c.g, blue);
  col *= 0.9 + 0.1 * cos(ci.y * 3.14159);
  col += (tvrand(vec2(ci.x, line + floor(uTime * 30.0))) - 0.5) * amount * 0.25;
  float band = fract(uTime * 0.15) * h;
  col += smoothstep(8.0, 0.0, abs(ci.y - band)) * 0.25 * amount;
  pm = vec4(clamp(col, 0.0, 1.0), c.a);
  a = pm.a;
  rgb = a > 0.0 ? min(pm.rgb / a, 1.0) : vec3(0.0);
#endif
  fragColor = encodePremultiplied(vec4(clamp(rgb, 0.0, 1.0) * a, a)).bgra;
}

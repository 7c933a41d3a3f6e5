// One direction of the filters' Gaussian blur, in premultiplied linear light
// (so a blur of bright detail does not darken), edges clamped. `uSigma` is
// the standard deviation in pixels, which is what a filter's radius means.
uniform sampler2D uSource;
uniform vec2 uDirection;  // (1, 0) or (0, 1)
uniform float uSigma;
uniform vec2 uSize;

out vec4 fragColor;

vec3 toLinear(vec3 c) { return mix(c / 12.92, pow((c + 0.055) / 1.055, vec3(2.4)), step(0.04045, c)); }
vec3 toEncoded(vec3 c) { return mix(c * 12.92, 1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, step(0.0031308, c)); }

vec4 linearAt(vec2 p) {
  vec4 c = texture(uSource, clamp(p, vec2(0.5), uSize - 0.5) / uSize);
  if (c.a <= 0.0) return vec4(0.0);
  return vec4(toLinear(clamp(c.rgb / c.a, 0.0, 1.0)) * c.a, c.a);
}

void main() {
  vec2 p = gl_FragCoord.xy;
  float sigma = max(uSigma, 0.01);
  int radius = int(min(ceil(sigma * 3.0), 120.0));
  float twoSigma2 = 2.0 * sigma * sigma;
  vec4 sum = linearAt(p);
  float total = 1.0;
  for (int i = 1; i <= radius; ++i) {
    float w = exp(-float(i * i) / twoSigma2);
    sum += (linearAt(p + uDirection * float(i)) + linearAt(p - uDirection * float(i))) * w;
    total += 2.0 * w;
  }
  vec4 c = sum / total;
  float a = clamp(c.a, 0.0, 1.0);
  vec4 encoded = a > 0.0 ? vec4(toEncoded(clamp(c.rgb / a, 0.0, 1.0)) * a, a) : vec4(0.0);
  fragColor = encoded.bgra;
}

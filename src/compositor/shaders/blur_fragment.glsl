// One direction of a separable Gaussian blur with clamped edges. Pairs of
// taps share one bilinear fetch, so a radius of n texels costs about n fetches.
uniform sampler2D uSource;
uniform vec2 uDirection;  // (1, 0) or (0, 1)
uniform float uSigma;     // in texels

out vec4 fragColor;

void main() {
  vec2 size = vec2(textureSize(uSource, 0));
  vec2 texel = gl_FragCoord.xy / size;
  vec2 step = uDirection / size;
  float sigma = max(uSigma, 0.5);
  int radius = int(min(ceil(sigma * 3.0), 127.0));
  float twoSigma2 = 2.0 * sigma * sigma;
  vec4 sum = texture(uSource, texel);
  float total = 1.0;
  for (int i = 1; i <= radius; i += 2) {
    float w0 = exp(-float(i * i) / twoSigma2);
    float w1 = exp(-float((i + 1) * (i + 1)) / twoSigma2);
    float w = w0 + w1;
    float at = float(i) + w1 / w;
    sum += (texture(uSource, texel + step * at) + texture(uSource, texel - step * at)) * w;
    total += 2.0 * w;
  }
  fragColor = (sum / total).bgra;
}

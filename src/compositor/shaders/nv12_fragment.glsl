// The composed canvas as NV12 planes: BT.709, limited range, computed from
// exact texel values so the planes match libswscale's BGRA to NV12 within a
// code value. Defined CHROMA draws the half-size Cb, Cr plane (into RG),
// otherwise the luma plane (into R). The canvas is premultiplied and Program
// is opaque, so colour is taken as it is stored.
uniform sampler2D uCanvas;

out vec4 fragColor;

const vec3 kLuma = vec3(0.2126, 0.7152, 0.0722);

vec3 rgbAt(ivec2 at) {
  ivec2 last = textureSize(uCanvas, 0) - ivec2(1);
  return texelFetch(uCanvas, clamp(at, ivec2(0), last), 0).rgb;
}

#ifdef CHROMA
// Each chroma sample sits between two columns and two rows, as libswscale's
// bilinear scaler places it: the column pair averaged, rows weighted 1 3 3 1
// around the row pair, edges repeated.
void main() {
  ivec2 at = ivec2(gl_FragCoord.xy) * 2;
  vec3 sum = vec3(0.0);
  for (int dy = -1; dy <= 2; ++dy) {
    float weight = (dy == -1 || dy == 2) ? 1.0 : 3.0;
    sum += weight * (rgbAt(at + ivec2(0, dy)) + rgbAt(at + ivec2(1, dy)));
  }
  vec3 rgb = sum / 16.0;
  float y = dot(kLuma, rgb);
  vec2 cbcr = 128.0 + 224.0 * vec2((rgb.b - y) / 1.8556, (rgb.r - y) / 1.5748);
  fragColor = vec4(round(cbcr) / 255.0, 0.0, 1.0);
}
#else
void main() {
  float y = 16.0 + 219.0 * dot(kLuma, rgbAt(ivec2(gl_FragCoord.xy)));
  fragColor = vec4(round(y) / 255.0, 0.0, 0.0, 1.0);
}
#endif

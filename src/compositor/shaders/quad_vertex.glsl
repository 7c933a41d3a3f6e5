// Six vertices of the unit quad from the vertex index; no vertex buffer.
// A pinned draw places the corners at its pins and carries projective
// weights so the picture interpolates with perspective.
uniform mat4 uTransform;
uniform vec4 uParams[10];  // crop, misc, corners, borderColor, keyParams, keyColor, pinTop, pinBottom, pinQ, maskParams
uniform float uViewFlip;   // -1 when drawing into a texture that is read back top row first

out vec3 vQuad;  // (u q, v q, q); (u, v) = (0, 0) top left, (1, 1) bottom right

const vec2 kCorners[6] = vec2[6](vec2(-1.0, 1.0), vec2(1.0, 1.0), vec2(-1.0, -1.0),
                                 vec2(-1.0, -1.0), vec2(1.0, 1.0), vec2(1.0, -1.0));

void main() {
  vec2 corner = kCorners[gl_VertexID];
  vec2 uv = vec2((corner.x + 1.0) * 0.5, (1.0 - corner.y) * 0.5);
  vec4 pinTop = uParams[6];
  vec4 pinBottom = uParams[7];
  vec4 pinQ = uParams[8];
  bool pinned = any(notEqual(pinTop, vec4(0.0))) || any(notEqual(pinBottom, vec4(0.0)));
  vec4 position;
  float q = 1.0;
  if (pinned) {
    // Ring order of the weights: top left, top right, bottom right, bottom left.
    if (uv.x < 0.5 && uv.y < 0.5) { position = vec4(pinTop.xy, 0.0, 1.0); q = pinQ.x; }
    else if (uv.y < 0.5) { position = vec4(pinTop.zw, 0.0, 1.0); q = pinQ.y; }
    else if (uv.x > 0.5) { position = vec4(pinBottom.xy, 0.0, 1.0); q = pinQ.z; }
    else { position = vec4(pinBottom.zw, 0.0, 1.0); q = pinQ.w; }
  } else {
    position = uTransform * vec4(corner, 0.0, 1.0);
  }
  vQuad = vec3(uv * q, q);
  gl_Position = vec4(position.x, position.y * uViewFlip, position.z, position.w);
}

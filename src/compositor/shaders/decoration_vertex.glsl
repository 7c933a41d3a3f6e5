// The unit quad for a decoration (a layer's shadow), grown by its matrix.
uniform mat4 uTransform;
uniform vec4 uParams[4];  // color, params, offset, corners
uniform float uViewFlip;

out vec2 vQuad;

const vec2 kCorners[6] = vec2[6](vec2(-1.0, 1.0), vec2(1.0, 1.0), vec2(-1.0, -1.0),
                                 vec2(-1.0, -1.0), vec2(1.0, 1.0), vec2(1.0, -1.0));

void main() {
  vec2 corner = kCorners[gl_VertexID];
  vQuad = vec2((corner.x + 1.0) * 0.5, (1.0 - corner.y) * 0.5);
  vec4 position = uTransform * vec4(corner, 0.0, 1.0);
  gl_Position = vec4(position.x, position.y * uViewFlip, position.z, position.w);
}

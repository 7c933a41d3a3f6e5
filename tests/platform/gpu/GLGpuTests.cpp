#include "platform/gpu/GLGpu.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/gl/GLFailure.h"

namespace tavorin {
namespace {

// Three vertices covering the target; the fragment shader does the work.
constexpr const char* kFullScreen = R"(
out vec2 vUV;
void main() {
  vec2 p = vec2(float((gl_VertexID << 1) & 2), float(gl_VertexID & 2));
  vUV = p;
  gl_Position = vec4(p * 2.0 - 1.0, 0.0, 1.0);
}
)";

// One context for the binary, current on the test thread; never torn down:
// unloading the driver at exit is not ours to test.
GLContext& context() {
  static GLContext* made = new GLContext;
  made->makeCurrent();
  return *made;
}

class GLGpuTest : public ::testing::Test {
 protected:
  GLGpuTest() : gpu(context()) {}

  std::vector<std::uint8_t> readBack(const GpuTexture& texture, std::size_t rowBytes) {
    auto download = gpu.createDownload(rowBytes * static_cast<std::size_t>(texture.height()));
    gpu.startDownload(texture, *download, rowBytes);
    EXPECT_TRUE(gpu.downloaded(*download, true));
    std::vector<std::uint8_t> bytes(download->bytes());
    EXPECT_TRUE(gpu.readDownload(*download, bytes));
    return bytes;
  }

  GLGpu gpu;
};

TEST_F(GLGpuTest, TexelsGoUpAndComeBackAsTheyWereWhateverTheRowSpacing) {
  struct Case {
    GpuFormat format;
    int texelBytes;
  };
  for (const Case c : {Case{GpuFormat::bgra8, 4}, Case{GpuFormat::r8, 1}, Case{GpuFormat::rg8, 2}}) {
    constexpr int kWidth = 7, kHeight = 5;
    const std::size_t tight = static_cast<std::size_t>(kWidth * c.texelBytes);
    const std::size_t padded = (tight + 7) / 8 * 8 + 8;
    std::vector<std::uint8_t> rows(padded * kHeight, 0xEE);
    for (int y = 0; y < kHeight; ++y) {
      for (std::size_t x = 0; x < tight; ++x) rows[y * padded + x] = static_cast<std::uint8_t>(y * 37 + x * 3);
    }
    auto texture = gpu.createTexture({.width = kWidth, .height = kHeight, .format = c.format, .renderable = true});
    ASSERT_TRUE(texture);
    ASSERT_TRUE(gpu.upload(*texture, rows.data(), padded));
    const auto back = readBack(*texture, tight + (c.texelBytes == 4 ? 0 : 3) / c.texelBytes * c.texelBytes);
    const std::size_t backRow = back.size() / kHeight;
    for (int y = 0; y < kHeight; ++y) {
      for (std::size_t x = 0; x < tight; ++x) {
        ASSERT_EQ(back[y * backRow + x], rows[y * padded + x]) << static_cast<int>(c.format) << " " << x << "," << y;
      }
    }
  }
  EXPECT_FALSE(gpu.createTexture({.width = 0, .height = 4}));
}

TEST_F(GLGpuTest, APassBindsItsTexturesAndUniformsInOrderAndBlendsOverTheTarget) {
  // Texture 0 red, texture 1 blue; out = tex0 × a + tex1 × b, as premultiplied colour with alpha a + b.
  const std::vector<std::uint8_t> red{0, 0, 255, 255}, blue{255, 0, 0, 255};
  auto first = gpu.createTexture({.width = 1, .height = 1, .initialData = red.data()});
  auto second = gpu.createTexture({.width = 1, .height = 1, .initialData = blue.data()});
  auto target = gpu.createTexture({.width = 4, .height = 4, .renderable = true});
  ASSERT_TRUE(first && second && target);
  GpuPassParams mix;
  mix.name = "full_vertex/mix_fragment";
  mix.vertexShader = kFullScreen;
  mix.fragmentShader = R"(
in vec2 vUV;
out vec4 fragColor;
uniform sampler2D uFirst;
uniform sampler2D uSecond;
uniform float uA;
uniform vec4 uWeights[2];
void main() {
  vec4 c = texture(uFirst, vUV) * uA * uWeights[0].x + texture(uSecond, vUV) * uWeights[1].y;
  fragColor = c.bgra;
}
)";
  mix.uniforms = {{"uA", GpuUniformType::float1}, {"uWeights", GpuUniformType::float4Array, 2}};
  mix.samplers = {"uFirst", "uSecond"};
  mix.blend = GpuBlend::premultipliedOver;
  auto pass = gpu.createPass(mix);
  ASSERT_EQ(pass->uniformFloats(), 9u);
  gpu.clear(target.get(), {0, 1, 0, 1});  // green, as bgra bytes read back: 0, 255, 0, 255
  const GpuTexture* textures[] = {first.get(), second.get()};
  const float values[] = {0.5f, 1, 0, 0, 0, 0, 0.25f, 0, 0};
  GpuPassRun run;
  run.pass = pass.get();
  run.target = target.get();
  run.textures = textures;
  run.uniforms = values;
  run.vertexCount = 3;
  gpu.run(run);
  const auto bytes = readBack(*target, 16);
  // Source: red 0.5, blue 0.25, alpha 0.75; over green: green × 0.25.
  EXPECT_NEAR(bytes[2], 128, 2) << "red";
  EXPECT_NEAR(bytes[1], 64, 2) << "green";
  EXPECT_NEAR(bytes[0], 64, 2) << "blue";
  EXPECT_EQ(bytes[3], 255);

  try {
    mix.name = "full_vertex/broken_fragment";
    mix.fragmentShader = "nonsense";
    gpu.createPass(mix);
    ADD_FAILURE() << "a shader that does not build throws";
  } catch (const GLFailure& failure) {
    EXPECT_TRUE(std::string(failure.what()).starts_with("Failed to create pipeline full_vertex/broken_fragment: "));
  }
}

}  // namespace
}  // namespace tavorin

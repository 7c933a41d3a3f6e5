#include "compositor/CompositorTestSupport.h"
#include "platform/gl/GLFailure.h"
#include "platform/gl/GLProgram.h"

namespace tavorin::testing {
namespace {

TEST(ProgramBuild, FailureNamesBothStagesAndTheCompilerLog) {
  GLContext& context = testContext();
  const char* vertex = "void main() { gl_Position = vec4(0.0); }\n";
  const char* broken = "out vec4 color;\nvoid main() { color = undefinedThing; }\n";
  try {
    buildProgram(context, "quad_vertex", vertex, "quad_fragment", broken);
    FAIL() << "a broken shader built";
  } catch (const GLFailure& failure) {
    const std::string text = failure.what();
    EXPECT_EQ(text.rfind("Failed to create pipeline quad_vertex/quad_fragment: ", 0), 0u) << text;
    EXPECT_NE(text.find("undefinedThing"), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace tavorin::testing

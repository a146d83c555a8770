#include "support/GLObjects.h"
#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>

#include <gtest/gtest.h>

namespace {

const char* const gradientShader = "#version 150\n"
                                   "noperspective in vec2 lm_location;\n"
                                   "out vec3 lm_output;\n"
                                   "uniform float lm_green;\n"
                                   "void main() { lm_output = vec3(lm_location.x / 8.0, lm_green, 0.25); }\n";

class Programs : public testing::Test {
protected:
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({8, 4});
    LogCapture capture;
};

} // namespace

TEST_F(Programs, AreCompiledOncePerName)
{
    EXPECT_FALSE(context->hasProgramWithName("Gradient") || context->getProgramWithName("Gradient"));
    auto program = context->createProgramWithName("Gradient", gradientShader);
    ASSERT_TRUE(program && context->hasProgramWithName("Gradient"));
    EXPECT_EQ(context->getProgramWithName("Gradient"), program);
    const auto shaders = liveGLObjects(*context, glIsShader, 256);
    EXPECT_EQ(context->createProgramWithName("Gradient", "this would not even compile"), program);
    EXPECT_EQ(liveGLObjects(*context, glIsShader, 256), shaders) << "a known name compiles nothing";
    EXPECT_TRUE(capture.lines().empty());
}

TEST_F(Programs, ThatFailToCompileAreKeptAndLoggedWithTheDriversLog)
{
    auto broken = context->createProgramWithName("Broken", "#version 150\nvoid main() { lm_output = oops; }\n");
    EXPECT_TRUE(broken && context->getProgramWithName("Broken") == broken);
    const auto lines = capture.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("LMFilter: Fragment Shader for Broken failed to compile: ")) << lines[0];
    EXPECT_NE(lines[0].find("lm_output"), std::string::npos) << "the driver's log names the culprit: " << lines[0];
}

// GL is asked once per uniform name, and only with a GL context current: on
// the host's thread GL would answer 0, which must not be cached. Once the GL
// program is gone, only the cache can answer without a GL error.
TEST_F(Programs, AskGLForEachUniformLocationOnceWithTheirContextCurrent)
{
    auto program = context->createProgramWithName("Gradient", gradientShader);
    EXPECT_EQ(program->uniformLocation("lm_green"), -1);
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{"LMProgram: Uniform location of lm_green asked with no GL context current"}));
    std::vector<GLint> locations; // GL's own answer, then the program's before and after the GL program goes
    GLenum error = GL_NO_ERROR;
    context->executeOpenGL([&] {
        locations.push_back(glGetUniformLocation(program->number(), "lm_green"));
        for (const char* name : {"lm_green", "lm_missing"})
            locations.push_back(program->uniformLocation(name));
        glDeleteProgram(program->number());
        for (const char* name : {"lm_green", "lm_missing"})
            locations.push_back(program->uniformLocation(name));
        error = glGetError();
    });
    ASSERT_GE(locations.at(0), 0);
    EXPECT_EQ(locations, (std::vector<GLint>{locations[0], locations[0], -1, locations[0], -1}));
    EXPECT_EQ(error, static_cast<GLenum>(GL_NO_ERROR));
}

#include "support/GLObjects.h"
#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>

#include <gtest/gtest.h>

namespace {

const char* const gradientShader =
    "#version 150\n"
    "noperspective in vec2 lm_location;\n"
    "out vec3 lm_output;\n"
    "uniform float lm_green;\n"
    "void main() { lm_output = vec3(lm_location.x / 8.0, lm_green, 0.25); }\n";

} // namespace

TEST(LMProgram, IsCompiledOncePerNameAndCachedForTheContextsLifeEvenWhenItFails)
{
    auto context = LMContext::contextWithDimensions({8, 4});
    EXPECT_FALSE(context->hasProgramWithName("Gradient"));
    EXPECT_EQ(context->getProgramWithName("Gradient"), nullptr);

    LogCapture capture;
    auto program = context->createProgramWithName("Gradient", gradientShader);
    ASSERT_TRUE(program);
    EXPECT_TRUE(capture.lines().empty());
    EXPECT_TRUE(context->sharedSetupComplete()) << "the first program creates the shared objects";
    EXPECT_TRUE(context->hasProgramWithName("Gradient"));
    EXPECT_EQ(context->getProgramWithName("Gradient"), program);

    const auto shaders = liveGLObjects(*context, glIsShader, 256);
    auto again = context->createProgramWithName("Gradient", "this would not even compile");
    EXPECT_EQ(again, program);
    EXPECT_EQ(liveGLObjects(*context, glIsShader, 256), shaders) << "a known name compiles nothing";
    EXPECT_TRUE(capture.lines().empty());

    auto broken = context->createProgramWithName("Broken", "#version 150\nvoid main() { lm_output = oops; }\n");
    ASSERT_TRUE(broken);
    EXPECT_EQ(context->getProgramWithName("Broken"), broken);
    EXPECT_TRUE(isGLObject(*context, glIsProgram, broken->number()));
    const auto lines = capture.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_TRUE(lines[0].starts_with("LMFilter: Fragment Shader for Broken failed to compile: ")) << lines[0];
    EXPECT_NE(lines[0].find("lm_output"), std::string::npos) << "the driver's log names the culprit: " << lines[0];
}

TEST(LMProgram, AsksGLForEachUniformOnceAndOnlyWithAGLContextCurrent)
{
    auto context = LMContext::contextWithDimensions({8, 4});
    auto program = context->createProgramWithName("Gradient", gradientShader);
    LogCapture capture;
    // On the host's thread no GL context is current: GL would answer 0.
    EXPECT_EQ(program->uniformLocation("lm_green"), -1);
    EXPECT_EQ(capture.lines(),
              (std::vector<std::string>{"LMProgram: Uniform location of lm_green asked with no GL context current"}));
    EXPECT_TRUE(program->uniformLocationCache().empty());

    GLint green = -2, fromGL = -3, missing = -2, greenAfter = -2, missingAfter = -2;
    GLenum error = GL_NO_ERROR;
    context->executeOpenGL([&] {
        green = program->uniformLocation("lm_green");
        fromGL = glGetUniformLocation(program->number(), "lm_green");
        missing = program->uniformLocation("lm_missing");
        // Once the GL program is gone, only the cache can still answer; asking
        // GL would give -1 and an error.
        glDeleteProgram(program->number());
        greenAfter = program->uniformLocation("lm_green");
        missingAfter = program->uniformLocation("lm_missing");
        error = glGetError();
    });
    EXPECT_GE(green, 0);
    EXPECT_EQ(green, fromGL);
    EXPECT_EQ(missing, -1);
    EXPECT_EQ(greenAfter, green);
    EXPECT_EQ(missingAfter, -1);
    EXPECT_EQ(error, static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(program->uniformLocationCache().size(), 2u);
}

#include "support/LogCapture.h"

#include <lumetra/context/LMContext.h>
#include <lumetra/graph/LMMatrix3.h>
#include <lumetra/graph/LMVector2.h>
#include <lumetra/graph/LMVector3.h>
#include <lumetra/graph/LMVector4.h>

#include <gtest/gtest.h>

#include <tuple>

// Each upload is read back from GL, in a program whose declarations are the
// ones the uniform objects write and which uses every uniform. A short list,
// or nothing, uploads zeros silently; a value of another kind uploads zeros
// and is reported once per uniform.
TEST(Uniforms, UploadTheirLeadingEntriesOrZeros)
{
    auto context = LMContext::contextWithDimensions({4, 4});
    auto center = LMVector2::vectorWithName("center");
    auto tint = LMVector3::vectorWithName("tint");
    auto weights = LMVector4::vectorWithName("weights");
    auto matrix = LMMatrix3::matrixWithName("matrix");
    const std::string source = "#version 150\nout vec3 lm_output; " + center->uniformString() +
                               tint->uniformString() + weights->uniformString() + matrix->uniformString() +
                               "\nvoid main() { lm_output = vec3(lm_center, 0.0) + lm_tint + lm_weights.xyz * "
                               "lm_weights.w + lm_matrix * vec3(1.0); }\n";
    auto program = context->createProgramWithName("Uniforms", source.c_str());
    context->makeCurrentContext();
    context->executeOpenGLNoContextSwitch([&] { program->useProgram(); });

    const std::vector<float> nineZeros(9, 0.0f), oneToNine{1, 2, 3, 4, 5, 6, 7, 8, 9};
    const std::tuple<LMUniform&, LMValue, std::vector<float>, const char*> cases[] = {
        {*center, LMValue{3.0, 4.0, 5.0}, {3, 4}, "entries past the second are ignored"},
        {*center, LMValue{7.0}, {0, 0}, "a short list is never read in part"},
        {*tint, LMValue{0.5, 0.25, 0.125}, {0.5, 0.25, 0.125}, "three numbers"},
        {*tint, LMValue(), {0, 0, 0}, "nothing"},
        {*weights, LMValue{1.0, 2.0, 3.0, 4.0}, {1, 2, 3, 4}, "four numbers"},
        // glGetUniformfv gives a mat3 column by column: as it was given.
        {*matrix, LMValue{1, 2, 3, 4, 5, 6, 7, 8, 9}, oneToNine, "nine numbers"},
        {*center, LMValue(5.0), {0, 0}, "a number"},
        {*center, LMValue{1.0, 2.0}, {1, 2}, "two numbers"},
        {*center, LMValue("not numbers"), {0, 0}, "a string, not reported again"},
        {*matrix, LMValue("nine numbers"), nineZeros, "a string"},
    };
    LogCapture capture;
    for (const auto& [uniform, value, expected, what] : cases) {
        // The location is asked on the GL queue, where the program's context is current.
        GLint location = -1;
        context->executeOpenGLNoContextSwitch([&] { location = program->uniformLocation(uniformName(uniform.name())); });
        uniform.bindToLocation(location, value, context);
        std::vector<float> uploaded(expected.size(), -1.0f);
        context->executeOpenGLNoContextSwitch([&] { glGetUniformfv(program->number(), location, uploaded.data()); });
        EXPECT_EQ(uploaded, expected) << what;
    }
    EXPECT_EQ(capture.lines(), (std::vector<std::string>{
                                   "LMVector2: The value of center is a number, not a list of 2 numbers; using zeros",
                                   "LMMatrix3: The value of matrix is a string, not a list of 9 numbers; using zeros",
                               }));
}

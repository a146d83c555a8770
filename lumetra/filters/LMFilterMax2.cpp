#include "lumetra/filters/LMFilterMax2.h"

const LMFilterDeclaration& LMFilterMax2::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("max2", "compose", "the larger of the image and another picture, channel by channel")
            .input("inputA", "the image")
            .input("inputB", "the other picture, fitted to the image")
            .inTool("with")
            .demo("max2 with=stripes")
            .perPixel()
            .picksAmongInputs();
    return declared;
}

std::string LMFilterMax2::kernelSource() const
{
    return "void main() {    lm_output = max(texture(lm_inputA, lm_location.st).rgb, texture(lm_inputB, "
           "lm_location.st).rgb); } ";
}

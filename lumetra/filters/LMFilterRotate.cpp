#include "lumetra/filters/LMFilterRotate.h"

#include <cmath>

const LMFilterDeclaration& LMFilterRotate::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("rot", "geometry", "turns the image clockwise by quarter turns")
            .input("input", "the image")
            .choice("angle", "90", {"90", "180", "270"}, "degrees clockwise")
            .demo("rot angle=180");
    return declared;
}

LMSize LMFilterRotate::outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const
{
    if (inputSizes.empty())
        return {0, 0};
    const LMSize size = inputSizes.front();
    return angle() == "180" ? size : LMSize{size.height, size.width};
}

std::vector<const LMRenderPass*> LMFilterRotate::renderPasses() const
{
    // Each output pixel centre maps to an input pixel centre: the source
    // position is a row of `turn` (a 2 by 3 matrix, rows as two vec3) applied
    // to (x, y, 1).
    static const LMRenderPass turn("turn", "uniform sampler2DRect source; uniform vec3 rowX; uniform vec3 rowY; "
                                           "void main() { vec3 p = vec3(gl_FragCoord.xy, 1.0); "
                                           "lm_output = texture(source, vec2(dot(rowX, p), dot(rowY, p))).rgb; }");
    return {&turn};
}

std::shared_ptr<LMImage> LMFilterRotate::drawPasses(const std::shared_ptr<LMContext>& context,
                                                    const std::vector<std::shared_ptr<LMImage>>& inputs,
                                                    LMSize outputSize)
{
    const LMImage& input = *inputs.front();
    const double width = std::floor(input.dimensions().width), height = std::floor(input.dimensions().height);
    // In GL's bottom-up pixels, output (u, v) reads the input at:
    //   90:  (width - v, u)     180: (width - u, height - v)     270: (v, height - u)
    const std::string turn = angle();
    double rowX[3] = {0, -1, width}, rowY[3] = {1, 0, 0};
    if (turn == "180") {
        rowX[0] = -1, rowX[1] = 0, rowX[2] = width;
        rowY[0] = 0, rowY[1] = -1, rowY[2] = height;
    } else if (turn == "270") {
        rowX[0] = 0, rowX[1] = 1, rowX[2] = 0;
        rowY[0] = -1, rowY[1] = 0, rowY[2] = height;
    }
    return drawPass(context, *renderPasses().front(), outputSize, {{"source", &input}},
                    [&](LMRenderPass::Uniforms& uniforms) {
                        uniforms.set3("rowX", rowX[0], rowX[1], rowX[2]);
                        uniforms.set3("rowY", rowY[0], rowY[1], rowY[2]);
                    });
}

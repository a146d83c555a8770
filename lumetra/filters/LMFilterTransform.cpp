#include "lumetra/filters/LMFilterTransform.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMRenderPass.h"

#include <array>

const LMFilterDeclaration& LMFilterTransform::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("transform", "geometry",
                            "moves, rotates and scales the image; steps apply in the order given")
            .input("input", "the image")
            .choice("edge", "tile", {"tile", "clamp", "black"},
                    "what lies outside the image: itself again, its edge pixels, or black")
            .uniform("transformMatrix", LMParameter::Type::Matrix3,
                     LMValue{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0}, "the inverse transform, column by column")
            .libraryOnly()
            .demo("transform rotate=30 scale=0.7")
            .createsContextDimensionsUniform();
    return declared;
}

std::string LMFilterTransform::kernelSource() const
{
    return "void main() {    vec2 loc = mod((lm_transformMatrix * vec3(lm_location.x, lm_location.y, 1.0)).st, "
           "lm_contextDimensions);    lm_output = texture(lm_input, loc).rgb; } ";
}

void LMFilterTransform::init()
{
    LMFilter::init();
    setTransform(LMAffineTransform{});
}

void LMFilterTransform::setTransform(const LMAffineTransform& transform)
{
    // Not a watched setter: what it stores marks nothing, and it marks the
    // filter itself below.
    announceSetter("setTransform:");
    transform_ = transform;
    const LMFloatMatrix3 forward{{
        static_cast<float>(transform.m11),
        static_cast<float>(transform.m12),
        0.0f,
        static_cast<float>(transform.m21),
        static_cast<float>(transform.m22),
        0.0f,
        static_cast<float>(transform.tX),
        static_cast<float>(transform.tY),
        1.0f,
    }};
    mat_ = forward.inverted();
    storeProperty("transformMatrix", std::vector<double>(mat_.m.begin(), mat_.m.end()));
    setNeedsRedraw(true);
}

std::shared_ptr<LMImage> LMFilterTransform::applyProgramWithContext(const std::shared_ptr<LMContext>& context)
{
    const std::string edge = choiceSetting("edge");
    // Tiling at the filter's own size is the kernel above, as it always was.
    if (!context || edge == "tile" || usesCustomOutputSize())
        return LMFilter::applyProgramWithContext(context);
    setLastUsedContext(context);
    drawInputsWithContext(context);
    const std::shared_ptr<LMImage> input = inputValueForName("input");

    // The same lookup with another rule outside the image; the rectangle
    // texture's clamping to its edge gives `clamp` with no test at all.
    static const LMRenderPass lookup(
        "edge", "uniform sampler2DRect source; uniform mat3 inverse; uniform vec2 size; uniform int black; "
                "void main() { vec2 loc = (inverse * vec3(gl_FragCoord.xy, 1.0)).st; "
                "bool outside = any(lessThan(loc, vec2(0.0))) || any(greaterThan(loc, size)); "
                "lm_output = black == 1 && outside ? vec3(0.0) : texture(source, loc).rgb; }");
    const LMSize size = outputSizeForContext(*context);
    // The list the kernel reads, zeros where it is short, as the uniform uploads it.
    std::array<GLfloat, 9> inverse{};
    const std::vector<double> matrix = transformMatrix();
    for (size_t i = 0; i < inverse.size() && i < matrix.size(); ++i)
        inverse[i] = static_cast<GLfloat>(matrix[i]);
    std::shared_ptr<LMImage> output;
    context->executeOwnOpenGL([&] {
        output = lookup.draw(context, programKey(), size, {{"source", input.get()}}, [&](LMRenderPass::Uniforms& set) {
            set.setMatrix3("inverse", inverse.data());
            set.set("size", size.width, size.height);
            set.setInteger("black", edge == "black" ? 1 : 0);
        });
    });
    return output;
}

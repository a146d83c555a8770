#include "lumetra/filters/LMFilterTransform.h"

const LMFilterDeclaration& LMFilterTransform::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration(
            "transform", "geometry",
            "moves, rotates and scales the image, tiling over the edges; steps apply in the order given")
            .input("input", "the image")
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

#include "lumetra/filters/LMFilterTransform.h"

#include "lumetra/graph/LMMatrix3.h"

std::string LMFilterTransform::kernelSource() const
{
    return "void main() {    vec2 loc = mod((lm_transformMatrix * vec3(lm_location.x, lm_location.y, 1.0)).st, "
           "lm_contextDimensions);    lm_output = texture(lm_input, loc).rgb; } ";
}

std::vector<std::shared_ptr<LMUniform>> LMFilterTransform::otherUniforms() const
{
    return {LMMatrix3::matrixWithName("transformMatrix")};
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

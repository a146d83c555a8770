#include "lumetra/filters/LMFilterTransform.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMRenderPass.h"

#include <algorithm>
#include <array>
#include <cmath>

const LMFilterDeclaration& LMFilterTransform::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("transform", "geometry",
                            "moves, rotates and scales the image; steps apply in the order given")
            .input("input", "the image")
            .choice("edge", "tile", {"tile", "clamp", "black"},
                    "what lies outside the image: itself again, its edge pixels, or black")
            .flag("resample", false, "where it shrinks the image, resample it first as resize does, so nothing aliases")
            .toolDefault(1.0)
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

LMFilterTransform::Shrink LMFilterTransform::shrinkOfMatrix(const std::vector<double>& inverse)
{
    // The kernel's list holds the inverse, column by column; the forward
    // transform takes the input's unit steps along x and y to steps this long.
    if (inverse.size() < 5)
        return {};
    const double a = inverse[0], b = inverse[1], c = inverse[3], d = inverse[4];
    const double determinant = a * d - b * c;
    if (!std::isfinite(determinant) || determinant == 0)
        return {};
    return {std::min(1.0, std::hypot(d, b) / std::fabs(determinant)),
            std::min(1.0, std::hypot(c, a) / std::fabs(determinant))};
}

std::shared_ptr<LMImage> LMFilterTransform::applyProgramWithContext(const std::shared_ptr<LMContext>& context)
{
    const std::string edge = choiceSetting("edge");
    const std::vector<double> matrix = transformMatrix();
    const Shrink shrink = flagSetting("resample") ? shrinkOfMatrix(matrix) : Shrink{};
    // A shrink of less than a thousandth would resample for nothing.
    const bool resampling = shrink.x < 0.999 || shrink.y < 0.999;
    // Tiling at the filter's own size is the kernel above, as it always was.
    if (!context || usesCustomOutputSize() || (edge == "tile" && !resampling))
        return LMFilter::applyProgramWithContext(context);
    setLastUsedContext(context);
    drawInputsWithContext(context);
    std::shared_ptr<LMImage> source = inputValueForName("input");

    // Shrunk first by the resampler to about the size the transform makes
    // of it, the image is then looked up with the scale that remains, near 1.
    double scaleX = 1, scaleY = 1;
    if (resampling && source) {
        const LMSize size = source->dimensions();
        if (!resampler_)
            resampler_ = LMFilterResize::filter();
        resampler_.get()->setInput(source);
        resampler_.get()->setWidth(std::max(1.0, std::round(size.width * shrink.x)));
        resampler_.get()->setHeight(std::max(1.0, std::round(size.height * shrink.y)));
        if (std::shared_ptr<LMImage> shrunk = resampler_->drawWithContext(context)) {
            scaleX = shrunk->dimensions().width / size.width;
            scaleY = shrunk->dimensions().height / size.height;
            source = shrunk;
        }
        resampler_.get()->setInput(nullptr);
    }

    // The same lookup with the edge's rule outside the image; the rectangle
    // texture's clamping to its edge gives `clamp` with no test at all.
    static const LMRenderPass lookup(
        "edge", "uniform sampler2DRect source; uniform mat3 inverse; uniform vec2 size; uniform int edge; "
                "void main() { vec2 loc = (inverse * vec3(gl_FragCoord.xy, 1.0)).st; "
                "if (edge == 0) loc = mod(loc, size); "
                "bool outside = any(lessThan(loc, vec2(0.0))) || any(greaterThan(loc, size)); "
                "lm_output = edge == 2 && outside ? vec3(0.0) : texture(source, loc).rgb; }");
    // The list the kernel reads, zeros where it is short, as the uniform
    // uploads it; its rows scaled into the shrunk image.
    std::array<GLfloat, 9> inverse{};
    for (size_t i = 0; i < inverse.size() && i < matrix.size(); ++i)
        inverse[i] = static_cast<GLfloat>(matrix[i] * (i % 3 == 0 ? scaleX : i % 3 == 1 ? scaleY : 1.0));
    const LMSize size = outputSizeForContext(*context);
    const LMSize sourceSize = source ? source->dimensions() : size;
    const int edgeCode = edge == "tile" ? 0 : edge == "clamp" ? 1 : 2;
    std::shared_ptr<LMImage> output;
    context->executeOwnOpenGL([&] {
        output = lookup.draw(context, programKey(), size, {{"source", source.get()}}, [&](LMRenderPass::Uniforms& set) {
            set.setMatrix3("inverse", inverse.data());
            set.set("size", sourceSize.width, sourceSize.height);
            set.setInteger("edge", edgeCode);
        });
    });
    return output;
}

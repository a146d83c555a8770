#include "lumetra/filters/LMFilterGaussianBlur.h"

#include "lumetra/filters/LMBlurPasses.h"

const LMFilterDeclaration& LMFilterGaussianBlur::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("gaussian-blur", "blur", "a Gaussian blur, edges clamped")
            .input("input", "the image to blur")
            .number("sigma", 2, 0, 200, "pixels", "the standard deviation; 0 leaves the image as it is")
            .demo("gaussian-blur sigma=4");
    return declared;
}

std::vector<const LMRenderPass*> LMFilterGaussianBlur::renderPasses() const
{
    return LMBlurPasses::renderPasses();
}

std::shared_ptr<LMImage> LMFilterGaussianBlur::drawPasses(const std::shared_ptr<LMContext>& context,
                                                          const std::vector<std::shared_ptr<LMImage>>& inputs, LMSize)
{
    return LMBlurPasses::gaussian(context, programKey(), *inputs.front(), sigma());
}

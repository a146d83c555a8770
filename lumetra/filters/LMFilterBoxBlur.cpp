#include "lumetra/filters/LMFilterBoxBlur.h"

#include "lumetra/filters/LMBlurPasses.h"

const LMFilterDeclaration& LMFilterBoxBlur::declaration()
{
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("box-blur", "blur", "the mean over a square around each pixel, edges clamped")
            .input("input", "the image to blur")
            .integer("radius", 2, 0, 120, "pixels", "the square reaches this far each side")
            .demo("box-blur radius=4");
    return declared;
}

std::vector<const LMRenderPass*> LMFilterBoxBlur::renderPasses() const
{
    return LMBlurPasses::renderPasses();
}

std::shared_ptr<LMImage> LMFilterBoxBlur::drawPasses(const std::shared_ptr<LMContext>& context,
                                                     const std::vector<std::shared_ptr<LMImage>>& inputs, LMSize)
{
    return LMBlurPasses::box(context, programKey(), *inputs.front(), radius());
}

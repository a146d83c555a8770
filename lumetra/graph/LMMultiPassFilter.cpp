#include "lumetra/graph/LMMultiPassFilter.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/context/LMProgram.h"
#include "lumetra/graph/LMImageClearing.h"

LMSize LMMultiPassFilter::outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const
{
    return inputSizes.empty() ? LMSize{0, 0} : inputSizes.front();
}

std::shared_ptr<LMImage> LMMultiPassFilter::validCachedOutputForContext(const std::shared_ptr<LMContext>& context)
{
    const std::shared_ptr<LMImage> cached = cachedOutput();
    if (!context || !context->cachingEnabled() || needsRedraw() || !cached)
        return nullptr;
    if (cached->context() != context || !(contextSizeOfOutput_ == context->dimensions()))
        return nullptr;
    return cached;
}

void LMMultiPassFilter::preloadWithContext(const std::shared_ptr<LMContext>& context)
{
    setLastUsedContext(context);
    if (!context)
        return;
    for (const LMRenderPass* pass : renderPasses())
        pass->programWithContext(*context, programKey());
}

bool LMMultiPassFilter::passesAreUsableWithContext(const std::shared_ptr<LMContext>& context)
{
    if (!context || !context->hasOpenGLContext())
        return false;
    bool usable = true;
    context->executeOpenGL([&] {
        for (const LMRenderPass* pass : renderPasses()) {
            std::shared_ptr<LMProgram> program = pass->programWithContext(*context, programKey());
            usable = usable && program && program->isLinked();
        }
    });
    return usable;
}

std::shared_ptr<LMImage> LMMultiPassFilter::applyProgramWithContext(const std::shared_ptr<LMContext>& context)
{
    if (!context)
        return nullptr;
    setLastUsedContext(context);

    // Inputs draw first, on the calling thread, as for every filter; here
    // they may be of any size.
    std::vector<std::shared_ptr<LMImage>> inputs;
    std::vector<LMSize> sizes;
    for (const std::string& name : storedInputNames()) {
        const std::shared_ptr<LMDrawable> input = drawableProperty(name);
        std::shared_ptr<LMImage> image = input ? input->drawWithContext(context) : nullptr;
        if (image && image->context() != context)
            image = nullptr;
        if (!image)
            image = blackImageWithContext(context);
        sizes.push_back(image->dimensions());
        inputs.push_back(std::move(image));
    }
    const LMSize outputSize = outputSizeForInputSizes(sizes);
    contextSizeOfOutput_ = context->dimensions();
    if (outputSize.width < 1 || outputSize.height < 1)
        return blackImageWithContext(context);

    std::shared_ptr<LMImage> output;
    context->executeOwnOpenGL([&] { output = drawPasses(context, inputs, outputSize); });
    return output;
}

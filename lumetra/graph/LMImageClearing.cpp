#include "lumetra/graph/LMImageClearing.h"

#include "lumetra/context/LMContext.h"

#include <cmath>

namespace {

GLfloat clearComponent(double component)
{
    return std::isnan(component) ? 0.0f : static_cast<GLfloat>(component);
}

} // namespace

std::shared_ptr<LMImage> leaseBoundImage(const std::shared_ptr<LMContext>& context, LMSize dimensions)
{
    std::shared_ptr<LMImage> image = LMImage::imageWithContext(context, dimensions);
    if (!image->target())
        return nullptr;
    image->bind();
    return image;
}

void clearBoundTarget(LMContext& context, LMRGBA color)
{
    context.executeOpenGLNoContextSwitch([&] {
        glClearColor(clearComponent(color.red), clearComponent(color.green), clearComponent(color.blue), 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
    });
}

std::shared_ptr<LMImage> imageClearedToColor(const std::shared_ptr<LMContext>& context, LMRGBA color)
{
    if (!context || !context->hasOpenGLContext())
        return LMImage::imageWithContext(context);
    std::shared_ptr<LMImage> image;
    context->executeOwnOpenGL([&] {
        image = LMImage::imageWithContext(context);
        if (image->target()) {
            image->bind();
            clearBoundTarget(*context, color);
        }
    });
    return image;
}

std::shared_ptr<LMImage> blackImageWithContext(const std::shared_ptr<LMContext>& context)
{
    return imageClearedToColor(context, LMRGBA::blackColor());
}

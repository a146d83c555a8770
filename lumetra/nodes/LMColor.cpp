#include "lumetra/nodes/LMColor.h"

#include "lumetra/context/LMContext.h"

#include <cmath>

namespace {

// GL clamps clear colours to 0..1, but NaN has no defined clamp.
GLfloat clearComponent(double component)
{
    return std::isnan(component) ? 0.0f : static_cast<GLfloat>(component);
}

} // namespace

std::shared_ptr<LMColor> LMColor::color()
{
    return blackColor();
}

std::shared_ptr<LMColor> LMColor::blackColor()
{
    return colorWithColor(LMRGBA::blackColor());
}

std::shared_ptr<LMColor> LMColor::whiteColor()
{
    return colorWithColor(LMRGBA::whiteColor());
}

std::shared_ptr<LMColor> LMColor::redColor()
{
    return colorWithColor(LMRGBA::redColor());
}

std::shared_ptr<LMColor> LMColor::blueColor()
{
    return colorWithColor(LMRGBA::blueColor());
}

std::shared_ptr<LMColor> LMColor::greenColor()
{
    return colorWithColor(LMRGBA::greenColor());
}

std::shared_ptr<LMColor> LMColor::colorWithColor(LMRGBA color)
{
    return std::shared_ptr<LMColor>(new LMColor(color));
}

std::shared_ptr<LMColor> LMColor::colorWithRed(double red, double green, double blue)
{
    return colorWithColor({red, green, blue, 1.0});
}

// LMRGBA is already in the generic RGB space: storing it is the conversion.
LMColor::LMColor(LMRGBA color) : color_(color)
{}

std::shared_ptr<LMImage> LMColor::drawWithContext(const std::shared_ptr<LMContext>& context)
{
    if (lastImage_ && context && lastImage_->context() == context && context->dimensions() == lastImage_->dimensions())
        return lastImage_;

    std::shared_ptr<LMImage> image;
    auto draw = [&] {
        image = LMImage::imageWithContext(context);
        image->bind();
        // Without a target nothing is bound, and a clear would land in
        // whatever target was bound before.
        if (context && image->target()) {
            const LMRGBA color = color_;
            context->executeOpenGLNoContextSwitch([&] {
                glClearColor(clearComponent(color.red), clearComponent(color.green), clearComponent(color.blue), 1.0f);
                glClear(GL_COLOR_BUFFER_BIT);
            });
        }
    };
    // Lease, bind and clear in one trip to the GL queue: a colour is often
    // drawn on the host's thread (a black fallback for a missing input).
    if (context && context->hasOpenGLContext())
        context->executeOwnOpenGL(draw);
    else
        draw();
    lastImage_ = image;
    needsRedraw_ = false;
    return image;
}

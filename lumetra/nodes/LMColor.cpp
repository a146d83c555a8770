#include "lumetra/nodes/LMColor.h"

#include "lumetra/context/LMContext.h"
#include "lumetra/graph/LMImageClearing.h"

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

    std::shared_ptr<LMImage> image = imageClearedToColor(context, color_);
    lastImage_ = image;
    needsRedraw_ = false;
    return image;
}

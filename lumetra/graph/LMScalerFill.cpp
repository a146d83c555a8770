#include "lumetra/graph/LMScalerFill.h"

bool LMScalerFill::inputIsWider(LMSize inputSize, LMSize outputSize)
{
    return inputSize.width / inputSize.height > outputSize.width / outputSize.height;
}

double LMScalerFill::fillFactor(LMSize inputSize, LMSize outputSize)
{
    return inputIsWider(inputSize, outputSize) ? outputSize.height / inputSize.height
                                               : outputSize.width / inputSize.width;
}

LMRect LMScalerFill::vertexPositionRectForInputSize(LMSize inputSize, LMSize outputSize) const
{
    if (!usableSizes(inputSize, outputSize))
        return fullViewport();
    const double k = fillFactor(inputSize, outputSize);
    const double rx = inputSize.width / outputSize.width;
    const double ry = inputSize.height / outputSize.height;
    const double left = -rx * k, right = rx * k;
    const double bottom = -ry * k, top = ry * k;
    return {left, bottom, right - left, top - bottom};
}

LMAffineTransform LMScalerFill::transformForInputSize(LMSize inputSize, LMSize outputSize) const
{
    LMAffineTransform transform;
    if (!usableSizes(inputSize, outputSize))
        return transform;
    const double s = fillFactor(inputSize, outputSize);
    double tx = 0.0, ty = 0.0;
    if (inputIsWider(inputSize, outputSize))
        tx = (outputSize.width - inputSize.width * s) * 0.5;
    else
        ty = (outputSize.height - inputSize.height * s) * 0.5;
    transform.translateXBy(tx, ty);
    transform.scaleBy(s);
    return transform;
}

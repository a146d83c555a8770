#include "lumetra/graph/LMScalerStretch.h"

LMRect LMScalerStretch::vertexPositionRectForInputSize(LMSize, LMSize) const
{
    return fullViewport();
}

LMAffineTransform LMScalerStretch::transformForInputSize(LMSize inputSize, LMSize outputSize) const
{
    LMAffineTransform transform;
    if (usableSizes(inputSize, outputSize))
        transform.scaleXBy(outputSize.width / inputSize.width, outputSize.height / inputSize.height);
    return transform;
}

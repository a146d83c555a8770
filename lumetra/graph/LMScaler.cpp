#include "lumetra/graph/LMScaler.h"

#include <cmath>
#include <initializer_list>

bool LMScaler::usableSizes(LMSize inputSize, LMSize outputSize)
{
    for (double length : {inputSize.width, inputSize.height, outputSize.width, outputSize.height}) {
        if (!std::isfinite(length) || length <= 0.0)
            return false;
    }
    return true;
}

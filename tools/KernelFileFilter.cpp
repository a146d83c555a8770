#include "KernelFileFilter.h"

#include <cstdio>
#include <functional>

void KernelFileFilter::configure(std::string source, std::vector<std::string> inputs, std::vector<std::string> controls)
{
    source_ = std::move(source);
    inputs_ = std::move(inputs);
    controls_ = std::move(controls);

    std::string identity = source_;
    for (const auto* list : {&inputs_, &controls_}) {
        identity += '\0';
        for (const std::string& name : *list)
            identity += name + ',';
    }
    char hash[17];
    std::snprintf(hash, sizeof(hash), "%016zx", std::hash<std::string>{}(identity));
    className_ = std::string("KernelFileFilter_") + hash;

    setInputNames(inputs_);
    setControlNames(controls_);
    setShouldCreateContextDimensionsUniform(true);
    setNeedsRedraw(true);
}

#include "lumetra/filters/LMFilterRegistry.h"

#include "lumetra/filters/LMFilters.h"

#include <algorithm>

LMFilterRegistry& LMFilterRegistry::shared()
{
    static LMFilterRegistry registry = [] {
        // In the order of their groups, as `lumetra --help` and the demo sheet show them.
        LMFilterRegistry builtIn;
        builtIn.add<LMFilterInvert>();
        builtIn.add<LMFilterMaxComponent>();
        builtIn.add<LMFilterFader>();
        builtIn.add<LMFilterConvertToSRGB>();
        builtIn.add<LMFilterConvertFromSRGB>();
        builtIn.add<LMFilterBrightnessContrast>();
        builtIn.add<LMFilterExposure>();
        builtIn.add<LMFilterGamma>();
        builtIn.add<LMFilterLevels>();
        builtIn.add<LMFilterSaturation>();
        builtIn.add<LMFilterGrayscale>();
        builtIn.add<LMFilterHueRotate>();
        builtIn.add<LMFilterSepia>();
        builtIn.add<LMFilterColorMatrix>();
        builtIn.add<LMFilterVignette>();
        builtIn.add<LMFilterThreshold>();
        builtIn.add<LMFilterPosterize>();
        builtIn.add<LMFilterCurves>();
        builtIn.add<LMFilterLut>();
        builtIn.add<LMFilterTransform>();
        builtIn.add<LMFilterCrop>();
        builtIn.add<LMFilterFlip>();
        builtIn.add<LMFilterRotate>();
        builtIn.add<LMFilterResize>();
        builtIn.add<LMFilterGaussianBlur>();
        builtIn.add<LMFilterBoxBlur>();
        builtIn.add<LMFilterMedian>();
        builtIn.add<LMFilterUnsharp>();
        builtIn.add<LMFilterMax2>();
        builtIn.add<LMFilterBlend>();
        builtIn.add<LMFilterCircle>();
        return builtIn;
    }();
    return registry;
}

void LMFilterRegistry::add(Entry entry)
{
    if (!entry.declaration || !entry.make)
        return;
    auto same = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& held) {
        return held.declaration->toolName() == entry.declaration->toolName();
    });
    if (same != entries_.end())
        *same = std::move(entry);
    else
        entries_.push_back(std::move(entry));
}

const LMFilterRegistry::Entry* LMFilterRegistry::find(std::string_view toolName) const
{
    for (const Entry& entry : entries_)
        if (entry.declaration->toolName() == toolName)
            return &entry;
    return nullptr;
}

std::vector<std::string> LMFilterRegistry::groups() const
{
    std::vector<std::string> groups;
    for (const Entry& entry : entries_)
        if (std::find(groups.begin(), groups.end(), entry.declaration->group()) == groups.end())
            groups.push_back(entry.declaration->group());
    return groups;
}

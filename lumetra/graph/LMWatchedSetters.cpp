#include "lumetra/graph/LMWatchedSetters.h"

#include "lumetra/graph/LMFilter.h"

#include <algorithm>
#include <cctype>

void markTargetIfSelectorIsWatchedMethod(LMFilter* target, std::string_view setterName,
                                         const std::vector<std::string>& watched)
{
    if (target && isWatchedSetter(setterName, watched))
        target->setNeedsRedraw(true);
}

bool isWatchedSetter(std::string_view setterName, const std::vector<std::string>& watched)
{
    return setterName == "setValue:forKey:" || std::find(watched.begin(), watched.end(), setterName) != watched.end();
}

std::string setterNameForKey(std::string_view key)
{
    std::string setter = "set";
    setter.append(key);
    if (!key.empty())
        setter[3] = static_cast<char>(std::toupper(static_cast<unsigned char>(setter[3])));
    setter.push_back(':');
    return setter;
}

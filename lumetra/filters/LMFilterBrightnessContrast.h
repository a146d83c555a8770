#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Brightness and contrast about mid-grey: out = (in - 0.5) * contrast + 0.5 +
// brightness on each channel, unclamped (the target clamps). Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterBrightnessContrast : public LMFilterClass<LMFilterBrightnessContrast, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> brightness() const { return numberProperty("brightness"); }
    void setBrightness(double brightness) { setProperty("brightness", brightness); }
    std::optional<double> contrast() const { return numberProperty("contrast"); }
    void setContrast(double contrast) { setProperty("contrast", contrast); }
};

#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Blends a source picture onto the image (the backdrop), per pixel and
// channel by channel: out = backdrop + opacity × (B(backdrop, source) −
// backdrop), B the mode's function of backdrop b and source s:
// normal s; multiply b·s; screen b + s − b·s; overlay hard-light(s, b);
// darken min(b, s); lighten max(b, s); color-dodge 0 if b = 0, else 1 if
// s = 1, else min(1, b/(1 − s)); color-burn 1 if b = 1, else 0 if s = 0,
// else 1 − min(1, (1 − b)/s); hard-light b·2s if s ≤ ½, else
// screen(b, 2s − 1); soft-light b − (1 − 2s)·b·(1 − b) if s ≤ ½, else
// b + (2s − 1)·(D(b) − b) with D(b) = ((16b − 12)b + 4)b for b ≤ ¼, √b
// above; difference |b − s|; exclusion b + s − 2b·s; add min(1, b + s);
// subtract max(0, b − s).
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterBlend : public LMFilterClass<LMFilterBlend, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context) override;

    std::shared_ptr<LMDrawable> source() const { return drawableProperty("source"); }
    void setSource(std::shared_ptr<LMDrawable> source) { setProperty("source", std::move(source)); }
    std::string mode() const { return choiceSetting("mode"); }
    void setMode(std::string mode) { setProperty("mode", std::move(mode)); }
    double opacity() const { return numberProperty("opacity").value_or(1); }
    void setOpacity(std::optional<double> opacity);
};

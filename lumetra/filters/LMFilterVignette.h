#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Darkens towards the corners. d is a pixel centre's distance from the
// image's centre over half the diagonal (0 at the centre, 1 in the corners,
// in the filter's working size); t = clamp((d - radius) / softness, 0, 1)
// (a step at radius when softness is 0) eased as t^2 (3 - 2t), and
// out = in * (1 - strength * eased t). Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterVignette : public LMFilterClass<LMFilterVignette, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> radius() const { return numberProperty("radius"); }
    void setRadius(double radius) { setProperty("radius", radius); }
    std::optional<double> softness() const { return numberProperty("softness"); }
    void setSoftness(double softness) { setProperty("softness", softness); }
    std::optional<double> strength() const { return numberProperty("strength"); }
    void setStrength(double strength) { setProperty("strength", strength); }
};

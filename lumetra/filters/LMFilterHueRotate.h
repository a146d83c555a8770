#pragma once

#include "lumetra/nodes/LMFilterClass.h"

#include <optional>

// Turns the hue by an angle with the usual luma-preserving colour matrix
// (constants 0.213, 0.715, 0.072): out = (A + cos(d) B + sin(d) C) in, with
//   A = [.213 .715 .072; .213 .715 .072; .213 .715 .072],
//   B = [.787 -.715 -.072; -.213 .285 -.072; -.213 -.715 .928],
//   C = [-.213 -.715 .928; .143 .140 -.283; -.787 .715 .072]. Per pixel.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterHueRotate : public LMFilterClass<LMFilterHueRotate, LMFilterSingleInput> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;

    // Unset: the declared default.
    std::optional<double> degrees() const { return numberProperty("degrees"); }
    void setDegrees(double degrees) { setProperty("degrees", degrees); }
};

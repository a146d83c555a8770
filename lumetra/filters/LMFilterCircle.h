#pragma once

#include "lumetra/nodes/LMFilterClass.h"
#include "lumetra/platform/LMPoint.h"

#include <optional>

// A mask without inputs: white where a pixel's centre lies within the radius
// of the centre, black elsewhere, with no smoothing. Centre and radius are in
// the context's pixels. The kernel reads the centre as the list
// centerVector; setCenter keeps that list in step with a point.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). The filter's own GL steps run as
// one block on the context's GL queue.
class LMFilterCircle : public LMFilterClass<LMFilterCircle> {
public:
    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    std::vector<std::string> controlNames() const override { return {"radius"}; }
    // Centres the circle on (0, 0).
    void init() override;

    std::optional<double> radius() const { return numberProperty("radius"); }
    void setRadius(std::optional<double> radius);
    std::vector<double> centerVector() const { return numbersProperty("centerVector"); }
    // Leaves center() as it was.
    void setCenterVector(std::vector<double> center) { setProperty("centerVector", std::move(center)); }
    LMPoint center() const { return center_; }
    // Also stores centerVector; not watched, so it marks nothing.
    void setCenter(LMPoint center);

private:
    LMPoint center_;
};

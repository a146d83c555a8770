#pragma once

#include "lumetra/graph/LMTableUniform.h"
#include "lumetra/nodes/LMFilterClass.h"

#include <array>
#include <string_view>

// Tone curves, per pixel: each channel through the master curve (`points`)
// and then through its own (`red`, `green`, `blue`). A curve is the
// monotone cubic (Fritsch-Carlson) through its points x0,y0,x1,y1,...: x
// strictly increasing within 0...1, at least two points; flat before the
// first point and after the last. The curves are evaluated on the CPU into
// a table of 4096 entries a channel, which the kernel reads with linear
// filtering. Points that make no curve are a configuration problem: the
// filter logs it once and draws its input unchanged.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterCurves : public LMFilterClass<LMFilterCurves, LMFilterSingleInput> {
public:
    static constexpr int tableSize = 4096;

    static const LMFilterDeclaration& declaration();
    std::string kernelSource() const override;
    std::vector<std::shared_ptr<LMUniform>> otherUniforms() const override;
    std::string configurationProblem() const override;
    std::shared_ptr<LMImage> applyProgramWithContext(const std::shared_ptr<LMContext>& context) override;

    std::vector<double> points() const { return curveSetting("points"); }
    void setPoints(std::vector<double> points) { setProperty("points", std::move(points)); }
    std::vector<double> red() const { return curveSetting("red"); }
    void setRed(std::vector<double> points) { setProperty("red", std::move(points)); }
    std::vector<double> green() const { return curveSetting("green"); }
    void setGreen(std::vector<double> points) { setProperty("green", std::move(points)); }
    std::vector<double> blue() const { return curveSetting("blue"); }
    void setBlue(std::vector<double> points) { setProperty("blue", std::move(points)); }

private:
    // The stored points, or the identity 0,0,1,1.
    std::vector<double> curveSetting(std::string_view name) const;

    std::shared_ptr<LMTableUniform> table_ = std::make_shared<LMTableUniform>("table", LMTableUniform::Shape::Line);
    // The curves the table was made from, and the problem last logged.
    std::array<std::vector<double>, 4> madeFrom_;
    bool made_ = false;
    std::string reported_;
};

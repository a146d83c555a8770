#include "lumetra/filters/LMFilterCircle.h"

#include "lumetra/graph/LMVector2.h"

std::string LMFilterCircle::kernelSource() const
{
    return "void main() {    vec2 loc = lm_location - lm_centerVector;    float dist = sqrt(dot(loc, loc));    "
           "if (dist > lm_radius) {        lm_output = vec3(0.0, 0.0, 0.0);    } else {        lm_output = "
           "vec3(1.0, 1.0, 1.0);    } } ";
}

std::vector<std::shared_ptr<LMUniform>> LMFilterCircle::otherUniforms() const
{
    return {LMVector2::vectorWithName("centerVector")};
}

void LMFilterCircle::init()
{
    LMFilter::init();
    setCenter({0, 0});
}

void LMFilterCircle::setRadius(std::optional<double> radius)
{
    setProperty("radius", radius ? LMValue(*radius) : LMValue());
}

void LMFilterCircle::setCenter(LMPoint center)
{
    announceSetter("setCenter:");
    center_ = center;
    setCenterVector({center.x, center.y});
}

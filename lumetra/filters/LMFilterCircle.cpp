#include "lumetra/filters/LMFilterCircle.h"

#include <limits>

const LMFilterDeclaration& LMFilterCircle::declaration()
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    static const LMFilterDeclaration declared =
        LMFilterDeclaration("circle", "generate",
                            "a white disc on black; it has no input, so it replaces what came before")
            .control("radius", 0, 0, inf, "pixels", "the radius")
            .required()
            .uniform("centerVector", LMParameter::Type::Point, LMValue{0.0, 0.0}, "the centre")
            .inTool("center")
            .demo("circle radius=50 center=120,80");
    return declared;
}

std::string LMFilterCircle::kernelSource() const
{
    return "void main() {    vec2 loc = lm_location - lm_centerVector;    float dist = sqrt(dot(loc, loc));    "
           "if (dist > lm_radius) {        lm_output = vec3(0.0, 0.0, 0.0);    } else {        lm_output = "
           "vec3(1.0, 1.0, 1.0);    } } ";
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

// A filter class whose printed name, "(anonymous namespace)::Painter", is
// also that of another class in HostFilterTests.cpp: the two must not share
// a program.

#include <lumetra/lumetra.h>

namespace {

class Painter : public LMFilterClass<Painter> {
public:
    std::string kernelSource() const override { return "void main() { lm_output = vec3(0.0, 0.0, 1.0); }"; }
};

} // namespace

std::shared_ptr<LMDrawable> bluePainterFromAnotherFile()
{
    return Painter::filter();
}

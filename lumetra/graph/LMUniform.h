#pragma once

#include "lumetra/graph/LMValue.h"
#include "lumetra/platform/LMGL.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

class LMContext;

// The GLSL name of an input, control or uniform: "lm_" followed by the name.
std::string uniformName(const std::string& name);

// A uniform of a filter's shader beyond its images and scalar controls. Its
// name is both the key of the filter property that holds the value and the
// GLSL name without its prefix. It declares itself for the shader assembly
// and uploads a value to a location of the program in use. The base class
// declares nothing and uploads nothing.
//
// Threads: not locked; the filter that lists it uses it from the thread that
// drives its graph, and the upload runs on the context's GL queue. The
// once-only report of a wrong kind is an atomic flag.
class LMUniform {
public:
    LMUniform() = default;
    virtual ~LMUniform() = default;

    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

    // The GLSL declaration, ending in "; " so declarations can be joined.
    virtual std::string uniformString() const;
    // Uploads the value on the context's GL queue, with the context already
    // current and the program in use. A missing or short list uploads zeros;
    // a value of another kind is treated as missing and reported once.
    virtual void bindToLocation(GLint location, const LMValue& value, const std::shared_ptr<LMContext>& context);
    // How many texture units the uniform binds (a table it samples); none by default.
    virtual GLint textureUnitCount() const { return 0; }
    // What the filter calls: as bindToLocation, with the first of the
    // textureUnitCount() units the uniform may bind. A filter gives these out
    // after its inputs' units, so they never meet an input's. The base
    // calls bindToLocation.
    virtual void bindToLocationWithTextureUnit(GLint location, const LMValue& value,
                                               const std::shared_ptr<LMContext>& context, GLint firstTextureUnit);

protected:
    // The first `count` entries of the value as floats, or zeros when the
    // value is missing, too short or of another kind.
    std::vector<float> componentsOf(const LMValue& value, size_t count, const char* className) const;

private:
    std::string name_;
    mutable std::atomic<bool> reportedWrongKind_{false};
};

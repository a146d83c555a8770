#pragma once

#include "lumetra/graph/LMImage.h"
#include "lumetra/platform/LMGL.h"
#include "lumetra/platform/LMSize.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

class LMContext;
class LMProgram;

// One pass of a filter that draws in several (see LMMultiPassFilter): a
// fragment program drawn over the whole of a target of any size. Its body
// declares its own uniforms and samplers (sampler2DRect), defines main() and
// writes vec3 lm_output; it finds its pixel at gl_FragCoord.xy, in pixels
// from the lower-left corner, centres at .5, so it needs no quad of its own
// size. The program is compiled once per context and class, under
// "<filter's program key>/<pass name>".
//
// Threads: a plain value, usually a function-local static of the filter class.
class LMRenderPass {
public:
    LMRenderPass(std::string name, std::string body) : name_(std::move(name)), body_(std::move(body)) {}

    const std::string& name() const { return name_; }
    std::string fragmentShaderSource() const { return "#version 150\nout vec3 lm_output;\n" + body_; }

    // Sets a pass's uniforms by GLSL name; an unknown name sets nothing, as in GL.
    //
    // Threads: used inside a pass's draw, on the context's GL queue.
    class Uniforms {
    public:
        explicit Uniforms(LMProgram& program) : program_(program) {}
        void set(const char* name, double value);
        void set(const char* name, double x, double y);
        void set3(const char* name, double x, double y, double z);
        void setInteger(const char* name, int value);
        // Nine floats, column by column.
        void setMatrix3(const char* name, const GLfloat* columns);

    private:
        LMProgram& program_;
    };

    // Draws the pass into a new image of `size` leased from the context's
    // pool, with each sampler's image bound to the next texture unit, and
    // `uniforms` setting the rest. Runs on the context's GL queue, inside
    // the filter's own block. Null when no target could be leased (the pool
    // said why); black when the program does not link (the compiler said
    // why, once).
    std::shared_ptr<LMImage> draw(const std::shared_ptr<LMContext>& context, const std::string& programKey, LMSize size,
                                  std::initializer_list<std::pair<const char*, const LMImage*>> samplers,
                                  const std::function<void(Uniforms&)>& uniforms = {}) const;

    // The pass's program in the context, compiled and linked on first use.
    std::shared_ptr<LMProgram> programWithContext(LMContext& context, const std::string& programKey) const;

private:
    std::string name_;
    std::string body_;
};

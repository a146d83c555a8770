#include "MovitChain.h"

#include <effect.h>
#include <effect_chain.h>
#include <flat_input.h>
#include <init.h>
#include <resource_pool.h>

#include <epoxy/gl.h>

#include <cstdlib>
#include <stdexcept>

#ifndef LUMETRA_MOVIT_SHADER_DIR
#define LUMETRA_MOVIT_SHADER_DIR "/usr/share/movit"
#endif

namespace {

// The library's kernels in Movit's form: INPUT() in, colour out, alpha
// passed through. None asks for linear light or sRGB primaries, so Movit
// inserts no conversion between a linear input and a linear output.
const char* bodyOf(const std::string& kernel)
{
    if (kernel == "invert")
        return "vec4 FUNCNAME(vec2 tc) { vec4 x = INPUT(tc); x.rgb = vec3(1.0) - x.rgb; return x; }\n";
    if (kernel == "fader")
        return "vec4 FUNCNAME(vec2 tc) { vec4 x = INPUT(tc); x.rgb *= PREFIX(control); return x; }\n";
    if (kernel == "to-srgb")
        return "vec4 FUNCNAME(vec2 tc) { vec4 x = INPUT(tc); vec3 c = x.rgb;\n"
               "  x.rgb = mix(c * 12.92, pow(c, vec3(0.4167)) * 1.055 - 0.055, step(0.00313, c)); return x; }\n";
    if (kernel == "max-component")
        return "vec4 FUNCNAME(vec2 tc) { vec4 x = INPUT(tc); float m = max(max(x.r, x.g), x.b);\n"
               "  x.rgb = vec3(m); return x; }\n";
    throw std::invalid_argument("no Movit kernel " + kernel);
}

class KernelEffect : public movit::Effect {
public:
    KernelEffect(const std::string& kernel, float control) : kernel_(kernel), control_(control)
    {
        if (kernel == "fader")
            register_float("control", &control_);
    }
    std::string effect_type_id() const override { return "LumetraBench_" + kernel_; }
    bool needs_linear_light() const override { return false; }
    bool needs_srgb_primaries() const override { return false; }
    AlphaHandling alpha_handling() const override { return DONT_CARE_ALPHA_TYPE; }
    bool strong_one_to_one_sampling() const override { return true; }
    std::string output_fragment_shader() override { return bodyOf(kernel_); }

private:
    std::string kernel_;
    float control_;
};

} // namespace

struct MovitChain::State {
    int width = 0, height = 0;
    std::unique_ptr<movit::ResourcePool> pool;
    std::unique_ptr<movit::EffectChain> chain;
    GLuint input = 0, output = 0, framebuffer = 0;
};

bool MovitChain::initialise(std::string& error)
{
    // With LUMETRA_BENCH_MOVIT_DEBUG set, Movit writes its graph (step-*.dot)
    // and generated shaders (chain-*.frag) into the working directory.
    const bool debug = std::getenv("LUMETRA_BENCH_MOVIT_DEBUG") != nullptr;
    if (movit::init_movit(LUMETRA_MOVIT_SHADER_DIR, debug ? movit::MOVIT_DEBUG_ON : movit::MOVIT_DEBUG_OFF))
        return true;
    error = "init_movit refused the GL context (shaders from " LUMETRA_MOVIT_SHADER_DIR ")";
    return false;
}

MovitChain::MovitChain(const std::vector<std::string>& kernels, float faderControl, int width, int height,
                       const std::vector<uint16_t>& sourceRGB)
    : state_(std::make_unique<State>())
{
    State& s = *state_;
    s.width = width;
    s.height = height;

    auto texture = [&](const void* pixels) {
        GLuint name = 0;
        glGenTextures(1, &name);
        glBindTexture(GL_TEXTURE_2D, name);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16, width, height, 0, GL_RGB, GL_UNSIGNED_SHORT, pixels);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
        return name;
    };
    s.input = texture(sourceRGB.data());
    s.output = texture(nullptr);
    glGenFramebuffers(1, &s.framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, s.framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, s.output, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);

    // Linear in, linear out, same primaries: no conversion at either end.
    movit::ImageFormat format;
    format.color_space = movit::COLORSPACE_sRGB;
    format.gamma_curve = movit::GAMMA_LINEAR;
    s.pool = std::make_unique<movit::ResourcePool>();
    s.chain = std::make_unique<movit::EffectChain>(float(width), float(height), s.pool.get());
    auto* input = new movit::FlatInput(format, movit::FORMAT_RGB, GL_UNSIGNED_SHORT, unsigned(width), unsigned(height));
    input->set_texture_num(s.input);
    s.chain->add_input(input);
    for (const std::string& kernel : kernels)
        s.chain->add_effect(new KernelEffect(kernel, faderControl));
    s.chain->add_output(format, movit::OUTPUT_ALPHA_FORMAT_POSTMULTIPLIED);
    // Movit takes the input's first row as the top; with the output's origin
    // at the top as well, the output's first row is the input's first row,
    // as in plain GL (the flip is in Movit's vertex shader).
    s.chain->set_output_origin(movit::OUTPUT_ORIGIN_TOP_LEFT);
    s.chain->set_dither_bits(0);
    s.chain->finalize();
}

MovitChain::~MovitChain()
{
    State& s = *state_;
    s.chain.reset();
    s.pool.reset();
    glDeleteFramebuffers(1, &s.framebuffer);
    glDeleteTextures(1, &s.input);
    glDeleteTextures(1, &s.output);
}

void MovitChain::renderAndFinish()
{
    state_->chain->render_to_fbo(state_->framebuffer, unsigned(state_->width), unsigned(state_->height));
    glFinish();
}

std::vector<uint16_t> MovitChain::readOutput() const
{
    std::vector<uint16_t> pixels(size_t(state_->width) * size_t(state_->height) * 3);
    glBindFramebuffer(GL_FRAMEBUFFER, state_->framebuffer);
    glPixelStorei(GL_PACK_ALIGNMENT, 2);
    glReadPixels(0, 0, state_->width, state_->height, GL_RGB, GL_UNSIGNED_SHORT, pixels.data());
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    return pixels;
}

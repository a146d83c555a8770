#pragma once

// Movit's fused chain of the same four kernels as the fusion benchmark, for
// measuring against. Its GL calls go through Movit's own dispatch, so this
// header includes no GL declarations: every call must run on a thread where
// a GL context is current (inside LMContext::executeOpenGL).

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class MovitChain {
public:
    // Movit's set-up once per process (its shaders' directory); false, with
    // `error` set, when Movit refuses the current GL context.
    static bool initialise(std::string& error);

    // `kernels` names each effect in order: "invert", "fader", "to-srgb",
    // "max-component". The input is `sourceRGB` (16-bit red, green, blue per
    // pixel, width × height); the output an RGB16 texture of the same size.
    MovitChain(const std::vector<std::string>& kernels, float faderControl, int width, int height,
               const std::vector<uint16_t>& sourceRGB);
    ~MovitChain();

    // Renders the chain into the output and waits for the GPU.
    void renderAndFinish();

    // The output's pixels, 16-bit red, green, blue, bottom row first.
    std::vector<uint16_t> readOutput() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

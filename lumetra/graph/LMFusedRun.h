#pragma once

#include <cstddef>
#include <memory>
#include <string>

class LMContext;
class LMDrawable;
class LMFilter;
class LMImage;

// Draws a run of per-pixel filters as one pass: the filter asked to draw
// and every per-pixel filter feeding it, through any number of inputs, at
// the same working size and without a custom output size. Each kernel keeps
// its text: it is compiled once per class into a function of generated
// globals (its inputs as colours, its controls and uniforms), under names of
// its class's own, and the generated main samples the run's other inputs
// (images, colours, filters of other kinds, which draw as usual) once each,
// then calls the members' kernels in order, each on its own controls,
// keeping between them what a 16-bit target would store (clamped to
// [0, 1], rounded to 1/65535; a filter that picks among its inputs rounds
// for them, and the last result is rounded by its target). The program is
// cached in the context by the run's shape (its members' program keys and
// how they connect), so a changed parameter compiles nothing.
//
// Threads: used by LMFilter's draw, on the thread that drives the graph; the pass is one block on the context's GL
// queue.
class LMFusedRun {
public:
    // The root's output drawn as one pass; null when there is no run to
    // fuse (no per-pixel filter feeds it) or its program does not link (the
    // root then draws as usual).
    static std::shared_ptr<LMImage> draw(LMFilter& root, const std::shared_ptr<LMContext>& context);

    // Runs longer than this are cut: the filters past it draw on their own
    // (and fuse their own runs). It keeps every program well inside a
    // driver's limits on uniforms, texture units and shader size.
    static constexpr size_t maximumMembers = 16;
    // Outside inputs and the members' tables together: GL 3.2 promises a
    // fragment shader 16 texture units.
    static constexpr size_t maximumTextureUnits = 16;

    // What the run's builder reads of a filter's own state.
    static bool isDrawing(const LMFilter& filter);
    static std::shared_ptr<LMDrawable> inputNamed(const LMFilter& filter, const std::string& name);
};

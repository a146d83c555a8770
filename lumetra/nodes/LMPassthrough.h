#pragma once

#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMImage.h"

#include <cstdint>
#include <memory>

// A node that hands on whatever its input draws, unchanged, and counts how
// often it was asked to draw. Put between two nodes, it shows how often the
// part of the graph above it is pulled (output caching at work), or gives a
// host one stable node whose input it can swap. It keeps no image of its own.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Its input draws on the calling
// thread; it has no GL steps of its own (a black fallback is one block on the context's GL queue).
class LMPassthrough : public LMDrawableCaching, public std::enable_shared_from_this<LMPassthrough> {
public:
    static std::shared_ptr<LMPassthrough> passthrough();
    static std::shared_ptr<LMPassthrough> passthroughWithInput(std::shared_ptr<LMDrawable> input);

    // Counts the draw, then returns the input's very image, or the black
    // image of the context's size when there is no input or the input
    // leads back here (a cycle, logged once). The passthrough and its input
    // stay alive until the draw returns, even when the input's draw sets
    // another input here or lets go of the last owner of the passthrough.
    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;

    bool needsRedraw() const override { return needsRedraw_; }
    void setNeedsRedraw(bool needsRedraw) override { needsRedraw_ = needsRedraw; }
    // Takes the answer of an input that caches; an input that does not
    // (an image) leaves the flag as it was.
    bool updateNeedsRedraw() override;

    void resetCount() { count_ = 0; }

    // Plain accessors: setInput does not touch the redraw flag.
    uint64_t count() const { return count_; }
    void setCount(uint64_t count) { count_ = count; }
    std::shared_ptr<LMDrawable> input() const { return input_; }
    void setInput(std::shared_ptr<LMDrawable> input) { input_ = std::move(input); }

    ~LMPassthrough() override;

protected:
    LMPassthrough() = default;

private:
    std::shared_ptr<LMDrawable> input_;
    uint64_t count_ = 0;
    bool needsRedraw_ = false;
    // Met again while drawing or asking its input: the graph is a cycle.
    bool drawing_ = false;
    bool askingInput_ = false;
    bool cycleMet_ = false;
    bool reportedCycle_ = false;
    bool reportedDepth_ = false;
};

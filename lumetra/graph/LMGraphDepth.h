#pragma once

// How deep the calling thread is inside nested draws of the graph (or inside
// nested questions for the redraw flag). Each node's draw pulls its inputs
// by calling their draws, so a chain of n nodes takes stack in proportion to
// n; beyond maximumDepth a node does not pull its inputs any further (it
// draws black, or answers its own flag) instead of overflowing the stack of
// a host thread. One guard per nested draw.
//
// Threads: the depth lives on the calling thread; nothing is locked or shared.
class LMGraphDepth {
public:
    // About 0.5 MB of stack in a release build (about 500 bytes a level),
    // well inside a thread's default 8 MB and inside a 1 MB thread's too.
    static constexpr int maximumDepth = 1000;

    LMGraphDepth();
    ~LMGraphDepth();

    LMGraphDepth(const LMGraphDepth&) = delete;
    LMGraphDepth& operator=(const LMGraphDepth&) = delete;

    // True when this level lies beyond maximumDepth.
    bool tooDeep() const { return tooDeep_; }

private:
    bool tooDeep_;
};

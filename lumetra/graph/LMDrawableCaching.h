#pragma once

#include "lumetra/graph/LMDrawable.h"

// A node that may hand back the image it drew last while that image still
// fits the request. Every real draw clears its redraw flag; setting the flag
// makes the next draw draw anew. Whoever pulls a graph with caching on asks
// its root updateNeedsRedraw first, so a change deep in the graph marks every
// node between it and the root.
//
// Threads: as LMDrawable: not locked; one thread at a time drives a graph, redraw flags included (the host's to
// ensure).
class LMDrawableCaching : public LMDrawable {
public:
    virtual bool needsRedraw() const = 0;
    virtual void setNeedsRedraw(bool needsRedraw) = 0;
    // Brings the flag up to date from the node's inputs and returns it.
    virtual bool updateNeedsRedraw() = 0;
};

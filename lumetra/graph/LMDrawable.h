#pragma once

#include <memory>

class LMContext;
class LMFilter;
class LMImage;

// A node of the drawing graph. Asked to draw with a context, it returns an
// image leased from that context, of the context's size unless the node has
// an output size of its own. The image belongs to the node, which may hand
// the same image to many callers: callers read it, bind it as a texture or
// show it, and never draw into it. A node with inputs pulls each of them with
// the same context before drawing itself.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). A draw runs on the calling
// thread; a node's own GL steps go to the context's GL queue.
class LMDrawable {
public:
    virtual ~LMDrawable() = default;

    // The image, or null when nothing could be drawn.
    virtual std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) = 0;

    // The filter this node is or stands for (a filter's handle stands for
    // its filter); null for any other node. Drawing a run of filters as one
    // pass looks through handles with it.
    virtual LMFilter* filterBehind() { return nullptr; }
};

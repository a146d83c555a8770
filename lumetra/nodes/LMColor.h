#pragma once

#include "lumetra/graph/LMDrawableCaching.h"
#include "lumetra/graph/LMImage.h"
#include "lumetra/platform/LMRGBA.h"

#include <memory>

// A source node that draws one opaque colour as large as the context: a
// constant input for filters, and the black image every node falls back to
// when it has nothing of its own. Its alpha is never drawn. It redraws only
// when it has no image, is drawn with another context, or the context's size
// has changed; a redraw is one clear of a pooled render target.
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). A redraw (lease, bind, clear)
// is one block on the context's GL queue.
class LMColor : public LMDrawableCaching {
public:
    static std::shared_ptr<LMColor> color();
    static std::shared_ptr<LMColor> blackColor();
    static std::shared_ptr<LMColor> whiteColor();
    static std::shared_ptr<LMColor> redColor();
    static std::shared_ptr<LMColor> blueColor();
    static std::shared_ptr<LMColor> greenColor();
    static std::shared_ptr<LMColor> colorWithColor(LMRGBA color);
    static std::shared_ptr<LMColor> colorWithRed(double red, double green, double blue);

    std::shared_ptr<LMImage> drawWithContext(const std::shared_ptr<LMContext>& context) override;

    bool needsRedraw() const override { return needsRedraw_; }
    void setNeedsRedraw(bool needsRedraw) override { needsRedraw_ = needsRedraw; }
    // The flag as it is: a colour has no inputs.
    bool updateNeedsRedraw() override { return needsRedraw_; }

    // Stores the colour only: the image already drawn stays until it no
    // longer fits or lastImage is cleared. (The getter is not color(): that
    // name is the class constructor of a black node.)
    LMRGBA colorValue() const { return color_; }
    void setColor(LMRGBA color) { color_ = color; }
    std::shared_ptr<LMImage> lastImage() const { return lastImage_; }
    void setLastImage(std::shared_ptr<LMImage> image) { lastImage_ = std::move(image); }

    // What a debugger shows for the node: its colour.
    LMRGBA debugQuickLookObject() const { return color_; }

protected:
    explicit LMColor(LMRGBA color);

private:
    LMRGBA color_;
    std::shared_ptr<LMImage> lastImage_;
    bool needsRedraw_ = true;
};

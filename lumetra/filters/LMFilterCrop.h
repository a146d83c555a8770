#pragma once

#include "lumetra/graph/LMMultiPassFilter.h"
#include "lumetra/nodes/LMFilterClass.h"

// A rectangle of the input, at its own size. x and y place its top-left
// corner in pixels from the input's top-left corner; a rectangle that
// reaches past the input is cut to it (and one wholly outside it is the
// input's last pixel).
//
// Threads: not locked; one thread at a time drives a graph (the host's to ensure). Inputs draw on the calling
// thread; the filter's own GL steps run as one block on the context's GL queue.
class LMFilterCrop : public LMFilterClass<LMFilterCrop, LMMultiPassFilter> {
public:
    static const LMFilterDeclaration& declaration();

    double x() const { return numberSetting("x"); }
    void setX(double x) { setProperty("x", x); }
    double y() const { return numberSetting("y"); }
    void setY(double y) { setProperty("y", y); }
    double width() const { return numberSetting("width"); }
    void setWidth(double width) { setProperty("width", width); }
    double height() const { return numberSetting("height"); }
    void setHeight(double height) { setProperty("height", height); }

    LMSize outputSizeForInputSizes(const std::vector<LMSize>& inputSizes) const override;

protected:
    std::vector<const LMRenderPass*> renderPasses() const override;
    std::shared_ptr<LMImage> drawPasses(const std::shared_ptr<LMContext>& context,
                                        const std::vector<std::shared_ptr<LMImage>>& inputs,
                                        LMSize outputSize) override;

private:
    // The rectangle cut to an input of `size`, in whole pixels from its
    // top-left corner: left, top, width, height.
    struct Cut {
        double left, top, width, height;
    };
    Cut cutForInputSize(LMSize size) const;
};

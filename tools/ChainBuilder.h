#pragma once

#include "FilterCatalog.h"
#include "LogRecorder.h"

#include <lumetra/lumetra.h>

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

// Turns a checked chain into library nodes for one context: reads the
// pictures and kernel files it names, builds each filter on the one before,
// and makes sure every kernel compiles before anything is drawn.
class ChainBuilder {
public:
    ChainBuilder(std::shared_ptr<LMContext> context, LMContentScaleMode fit, LogRecorder& log);

    // The chain on `source`, an image of `size`. A filter that changes the
    // size (resize, crop, rot) changes it for every filter after it: each of
    // those works at the new size. Throws a CliError naming the file or
    // kernel at fault. `finalSize`, when given, receives the size of what the chain makes.
    std::shared_ptr<LMDrawable> build(const std::vector<CheckedFilter>& chain, std::shared_ptr<LMDrawable> source,
                                      LMSize size, LMSize* finalSize = nullptr);

    // A picture file brought into the context at its own size, then fitted
    // to `size` as fitted() does; the same path is read once per builder,
    // and fitted once per size. Throws a CliError when it cannot be read.
    std::shared_ptr<LMImage> pictureImage(const std::string& path, LMSize size);
    // The image resampled to `size` (LMFilterResize, its default kernel):
    // stretched to it, or filled (resized to cover it keeping the aspect
    // ratio, then the middle cut out), as the builder's fit says. An image
    // of that size already comes back as it is. Throws a CliError when it
    // cannot be drawn.
    std::shared_ptr<LMImage> fitted(const std::shared_ptr<LMImage>& image, LMSize size);
    // Makes `name` stand for a node the host made, of `size`, wherever the
    // chain names a picture: used as it is where the filter works at that
    // size, drawn and fitted as a picture file would be where it does not.
    void provideInput(const std::string& name, std::shared_ptr<LMDrawable> node, LMSize size)
    {
        providedInputs_[name] = {std::move(node), size};
    }
    // Makes a kernel file named `name` read as `source`, without a file.
    void provideKernel(const std::string& name, std::string source) { kernels_[name] = std::move(source); }
    // Makes a file parameter written as `name` read the file at `path` instead.
    void provideFile(const std::string& name, std::string path) { files_[name] = std::move(path); }

    // The filters a view animates, with their parameters as written.
    // Each with the size of the image it works on.
    struct AnimatedCircle {
        LMFilterRef<LMFilterCircle> filter;
        double radius;
        double centerX, centerY;
        LMSize size;
    };
    struct AnimatedTransform {
        LMFilterRef<LMFilterTransform> filter;
        std::vector<TransformStep> steps;
        LMSize size;
    };
    const std::vector<AnimatedCircle>& circles() const { return circles_; }
    const std::vector<AnimatedTransform>& transforms() const { return transforms_; }

    // The transform of written steps, each about the context's centre, in
    // the library's coordinates (origin lower left, y up); `phase` turns and
    // breathes it for the view's animation (0 leaves it as written).
    static LMAffineTransform transformForSteps(const std::vector<TransformStep>& steps, LMSize contextSize,
                                               double phase = 0);
    // A point written from the top-left corner, y down, in the library's coordinates.
    static LMPoint libraryPoint(double x, double y, LMSize contextSize);

private:
    LMFilterRef<LMFilter> buildDeclared(const CheckedFilter& checked, const std::shared_ptr<LMDrawable>& previous,
                                        LMSize size);
    LMFilterRef<LMFilter> buildKernel(const CheckedFilter& checked, const std::shared_ptr<LMDrawable>& previous,
                                      LMSize size);
    std::string readKernelFile(const std::string& path);
    // What a named picture input takes: a provided node, or the picture file fitted to `size`.
    std::shared_ptr<LMDrawable> namedInput(const std::string& name, LMSize size);

    std::shared_ptr<LMContext> context_;
    LMContentScaleMode fit_;
    LogRecorder& log_;
    std::map<std::string, std::shared_ptr<LMImage>> pictures_;
    std::map<std::string, std::pair<std::shared_ptr<LMDrawable>, LMSize>> providedInputs_;
    std::map<std::tuple<std::string, double, double>, std::shared_ptr<LMImage>> fittedPictures_;
    std::map<std::string, std::string> kernels_;
    std::map<std::string, std::string> files_;
    std::vector<AnimatedCircle> circles_;
    std::vector<AnimatedTransform> transforms_;
};

// A picture file read and checked against the context's limit; throws a
// CliError quoting the reader's reason.
std::shared_ptr<LMPicture> readPictureFile(const std::string& path, LogRecorder& log, long maxSide);

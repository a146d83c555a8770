#include "ChainBuilder.h"

#include "CliError.h"
#include "KernelFileFilter.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

namespace {

// A kernel file past this is not a kernel: refuse it, reading no further.
constexpr size_t maximumKernelBytes = 1 << 20;

} // namespace

std::shared_ptr<LMPicture> readPictureFile(const std::string& path, LogRecorder& log, long maxSide)
{
    log.takeLines();
    // "-" is standard input.
    const bool standardInput = path == "-";
    std::shared_ptr<LMPicture> picture = standardInput ? LMPicture::pictureWithContentsOfStream(stdin, "standard input")
                                                       : LMPicture::pictureWithContentsOfFile(path);
    if (!picture) {
        std::string reason = log.lastLineContaining(standardInput ? "standard input" : path);
        throw CliError(reason.empty() ? "cannot read " + path : reason);
    }
    const LMSize size = picture->size();
    if (size.width > maxSide || size.height > maxSide)
        throw CliError(path + " is " + std::to_string(long(size.width)) + " by " + std::to_string(long(size.height)) +
                       " pixels, above this renderer's maximum of " + std::to_string(maxSide) + " a side");
    return picture;
}

ChainBuilder::ChainBuilder(std::shared_ptr<LMContext> context, LMContentScaleMode fit, LogRecorder& log)
    : context_(std::move(context)), fit_(fit), log_(log)
{}

std::shared_ptr<LMImage> ChainBuilder::pictureImage(const std::string& path, LMSize size)
{
    const auto key = std::tuple(path, size.width, size.height);
    if (auto found = fittedPictures_.find(key); found != fittedPictures_.end())
        return found->second;
    std::shared_ptr<LMImage> image;
    if (auto found = pictures_.find(path); found != pictures_.end()) {
        image = found->second;
    } else {
        auto picture = readPictureFile(path, log_, context_->maxTextureSize());
        image = picture->lumetraImageOfOwnSizeWithContext(context_);
        if (!image)
            throw CliError("cannot bring " + path + " into the GL context");
        pictures_[path] = image;
    }
    return fittedPictures_[key] = fitted(image, size);
}

std::shared_ptr<LMImage> ChainBuilder::fitted(const std::shared_ptr<LMImage>& image, LMSize size)
{
    const LMSize own = image->dimensions();
    if (own == size)
        return image;
    auto resize = LMFilterResize::filter();
    resize->setValueForKey(std::shared_ptr<LMDrawable>(image), "input");
    std::shared_ptr<LMDrawable> fit = resize;
    if (fit_ == LMContentScaleModeStretch) {
        resize->setWidth(size.width), resize->setHeight(size.height);
    } else {
        // Covering: the side that needs the larger scale decides, the other
        // overhangs and is cut evenly from both ends.
        const double scale = std::max(size.width / own.width, size.height / own.height);
        const double width = std::max(size.width, std::round(own.width * scale));
        const double height = std::max(size.height, std::round(own.height * scale));
        resize->setWidth(width), resize->setHeight(height);
        auto crop = LMFilterCrop::filter();
        crop->setValueForKey(fit, "input");
        crop->setX(std::floor((width - size.width) / 2)), crop->setY(std::floor((height - size.height) / 2));
        crop->setWidth(size.width), crop->setHeight(size.height);
        fit = crop;
    }
    auto drawn = fit->drawWithContext(context_);
    if (!drawn || !drawn->target())
        throw CliError("cannot fit a picture of " + std::to_string(long(own.width)) + "x" +
                       std::to_string(long(own.height)) + " to " + std::to_string(long(size.width)) + "x" +
                       std::to_string(long(size.height)));
    return drawn;
}

std::shared_ptr<LMDrawable> ChainBuilder::namedInput(const std::string& name, LMSize size)
{
    auto provided = providedInputs_.find(name);
    if (provided == providedInputs_.end())
        return pictureImage(name, size);
    const auto& [node, ownSize] = provided->second;
    if (ownSize == size)
        return node;
    const auto key = std::tuple(name, size.width, size.height);
    if (auto found = fittedPictures_.find(key); found != fittedPictures_.end())
        return found->second;
    std::shared_ptr<LMImage> drawn = node->drawWithContext(context_);
    if (!drawn || !drawn->target())
        throw CliError("cannot draw the input " + name);
    return fittedPictures_[key] = fitted(drawn, size);
}

LMPoint ChainBuilder::libraryPoint(double x, double y, LMSize contextSize)
{
    return {x, contextSize.height - y};
}

LMAffineTransform ChainBuilder::transformForSteps(const std::vector<TransformStep>& steps, LMSize contextSize,
                                                  double phase)
{
    const double centerX = contextSize.width / 2, centerY = contextSize.height / 2;
    LMAffineTransform total;
    auto thenApply = [&total](LMAffineTransform step) {
        step.prependTransform(total);
        total = step;
    };
    for (const TransformStep& step : steps) {
        LMAffineTransform next;
        switch (step.kind) {
        case TransformStep::Kind::Translate:
            // Written with y downwards; the library's y points up.
            next.translateXBy(step.x, -step.y);
            break;
        case TransformStep::Kind::Rotate:
            next.translateXBy(centerX, centerY).rotateByDegrees(step.x).translateXBy(-centerX, -centerY);
            break;
        case TransformStep::Kind::Scale:
            next.translateXBy(centerX, centerY).scaleXBy(step.x, step.y).translateXBy(-centerX, -centerY);
            break;
        }
        thenApply(next);
    }
    if (phase != 0) {
        LMAffineTransform wobble;
        wobble.translateXBy(centerX, centerY)
            .rotateByDegrees(phase * 40)
            .scaleBy(1 + 0.15 * std::sin(phase * 2.3))
            .translateXBy(-centerX, -centerY);
        thenApply(wobble);
    }
    return total;
}

std::string ChainBuilder::readKernelFile(const std::string& path)
{
    if (auto found = kernels_.find(path); found != kernels_.end())
        return found->second;
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw CliError("cannot read kernel " + path + ": " + std::strerror(errno));
    // Read, not measured: a device such as /dev/zero or a pipe has no size
    // to measure and may never end. One byte past the limit is enough to
    // know.
    std::string source(maximumKernelBytes + 1, '\0');
    file.read(source.data(), std::streamsize(source.size()));
    if (file.bad())
        throw CliError("cannot read kernel " + path + ": " + std::strerror(errno));
    source.resize(size_t(file.gcount()));
    if (source.size() > maximumKernelBytes)
        throw CliError("kernel " + path + " is larger than 1 MiB; is it a GLSL kernel?");
    if (source.find('\0') != std::string::npos)
        throw CliError("kernel " + path + " is not a text file");
    if (source.find("main") == std::string::npos)
        throw CliError("kernel " + path + " defines no main(): a kernel writes lm_output in main()");
    kernels_[path] = source;
    return source;
}

LMFilterRef<LMFilter> ChainBuilder::buildKernel(const CheckedFilter& checked,
                                                const std::shared_ptr<LMDrawable>& previous, LMSize size)
{
    const std::string& path = checked.files.at("file");
    auto filter = KernelFileFilter::filter();
    filter->configure(readKernelFile(path), checked.kernelInputs, checked.kernelControls);
    for (size_t i = 0; i < checked.kernelInputs.size(); ++i) {
        const std::string& name = checked.kernelInputs[i];
        std::shared_ptr<LMDrawable> input = i == 0 ? previous : namedInput(checked.files.at(name), size);
        filter->setValueForKey(LMValue(std::move(input)), name);
    }
    for (const std::string& name : checked.kernelControls)
        filter->setValueForKey(LMValue(checked.numbers.at(name)), name);

    // Compiled now, so that a mistake in the kernel is reported by name
    // before any picture is drawn, with the compiler's own words.
    log_.takeLines();
    filter->preloadWithContext(context_);
    auto program = filter->program();
    if (!program || !program->isLinked()) {
        std::string compiler;
        // The compiler's log holds a line per error: indent each under the message.
        for (const std::string& entry : log_.takeLines()) {
            std::stringstream lines(entry);
            for (std::string line; std::getline(lines, line);)
                if (!line.empty())
                    compiler += "\n  " + line;
        }
        throw CliError("kernel " + path + " does not compile:" + compiler);
    }
    return filter;
}

LMFilterRef<LMFilter> ChainBuilder::buildDeclared(const CheckedFilter& checked,
                                                  const std::shared_ptr<LMDrawable>& previous, LMSize size)
{
    LMFilterRef<LMFilter> filter = checked.entry->make();
    bool chainInput = true;
    for (const LMParameter& parameter : checked.entry->declaration->parameters()) {
        if (parameter.role != LMParameter::Role::Input)
            continue;
        if (std::exchange(chainInput, false))
            filter->setValueForKey(previous, parameter.name);
        else
            filter->setValueForKey(namedInput(checked.files.at(parameter.name), size), parameter.name);
    }
    for (const auto& [parameter, value] : checked.values) {
        if (parameter->type == LMParameter::Type::Point) {
            // Written from the top-left corner, y down.
            const std::vector<double>& point = *value.numbers();
            const LMPoint placed = libraryPoint(point[0], point[1], size);
            filter->setValueForKey(std::vector<double>{placed.x, placed.y}, parameter->name);
        } else if (const std::string* name = value.string();
                   parameter->type == LMParameter::Type::File && name && files_.count(*name)) {
            filter->setValueForKey(files_.at(*name), parameter->name);
        } else {
            filter->setValueForKey(value, parameter->name);
        }
    }
    return filter;
}

std::shared_ptr<LMDrawable> ChainBuilder::build(const std::vector<CheckedFilter>& chain,
                                                std::shared_ptr<LMDrawable> source, LMSize size, LMSize* finalSize)
{
    std::shared_ptr<LMDrawable> previous = std::move(source);
    for (const CheckedFilter& checked : chain) {
        LMFilterRef<LMFilter> filter =
            checked.entry ? buildDeclared(checked, previous, size) : buildKernel(checked, previous, size);
        // A table file that does not read, points that make no curve: the
        // filter's own words, before anything is drawn.
        if (const std::string problem = filter->configurationProblem(); !problem.empty())
            throw CliError(problem);
        if (auto* resizing = dynamic_cast<LMMultiPassFilter*>(filter.get())) {
            // It works at whatever size its input has; what follows works at the size it makes.
            size = resizing->outputSizeForInputSize(size);
        } else if (!(size == context_->dimensions())) {
            filter->setWorkingSize(size);
        }
        if (checked.name == "circle") {
            double radius = 0, centerX = 0, centerY = 0;
            for (const auto& [parameter, value] : checked.values) {
                if (parameter->name == "radius")
                    radius = *value.number();
                else if (parameter->name == "centerVector")
                    centerX = (*value.numbers())[0], centerY = (*value.numbers())[1];
            }
            circles_.push_back({LMFilterRef<LMFilterCircle>(filter.proxy()), radius, centerX, centerY, size});
        } else if (checked.name == "transform") {
            LMFilterRef<LMFilterTransform> transform(filter.proxy());
            transform->setTransform(transformForSteps(checked.transformSteps, size));
            transforms_.push_back({transform, checked.transformSteps, size});
        }
        previous = filter;
    }
    if (finalSize)
        *finalSize = size;
    return previous;
}

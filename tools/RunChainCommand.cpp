#include "ChainBuilder.h"
#include "CliError.h"
#include "Commands.h"
#include "OutputPicture.h"

#include <lumetra/lumetra.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

std::shared_ptr<LMContext> makeContext(LMSize size, LogRecorder& log)
{
    log.takeLines();
    auto context = LMContext::contextWithDimensions(size);
    // Runs of per-pixel filters draw as one pass: the same pixels, sooner.
    context->setFusionEnabled(true);
    // A context without GL logs why at set-up and reads a limit of 0.
    if (context->maxTextureSize() <= 0) {
        std::string reason;
        for (const std::string& line : log.takeLines())
            reason += "\n  " + line;
        throw CliError("no OpenGL context could be made:" + reason);
    }
    return context;
}

void checkSizeFits(LMSize size, const LMContext& context, const std::string& what)
{
    const long maximum = context.maxTextureSize();
    if (size.width < 1 || size.height < 1 || size.width > maximum || size.height > maximum)
        throw CliError(what + " of " + std::to_string(long(size.width)) + "x" + std::to_string(long(size.height)) +
                       " is outside this renderer's limits of 1 to " + std::to_string(maximum) + " pixels a side");
}

namespace {

// In a batch, each input's own name; with --format, its extension changed to the format's.
std::string outputPathFor(const CommandLine& line, const std::string& input)
{
    if (line.outputDirectory.empty())
        return line.output;
    std::filesystem::path name = std::filesystem::path(input == "-" ? "stdin" : input).filename();
    if (!line.format.empty()) {
        const std::string extension = line.format == "jpeg"   ? ".jpg"
                                      : line.format == "tiff" ? ".tif"
                                                              : "." + line.format;
        name.replace_extension(extension);
    }
    return (std::filesystem::path(line.outputDirectory) / name).string();
}

// The same file, however it is named (another spelling of the folder, a
// link, a hard link): the device and inode, not the path.
struct FileIdentity {
    dev_t device;
    ino_t inode;
    bool operator<(const FileIdentity& other) const
    {
        return std::tie(device, inode) < std::tie(other.device, other.inode);
    }
};

std::optional<FileIdentity> identityOf(const std::string& path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

// Everything that would make a batch fail halfway is checked before the first draw.
void checkOutputs(const CommandLine& line, const std::vector<CheckedFilter>& chain)
{
    std::set<std::string> outputs;
    for (const std::string& input : line.inputs) {
        const std::string output = outputPathFor(line, input);
        checkOutputName(output, line.format);
        if (!outputs.insert(output).second)
            throw CliError::usage("two inputs would both be written to " + output);
    }
    // A batch keeps the inputs' names: -O naming the inputs' own folder would
    // replace each picture with its result, and a later one read again (a
    // with= picture) would already be a result.
    if (!line.outputDirectory.empty()) {
        std::map<FileIdentity, std::string> read;
        for (const std::string& input : line.inputs)
            if (auto identity = identityOf(input))
                read.emplace(*identity, input);
        for (const CheckedFilter& filter : chain)
            for (const auto& [key, file] : filter.files)
                if (auto identity = identityOf(file))
                    read.emplace(*identity, file);
        for (const std::string& input : line.inputs) {
            const std::string output = outputPathFor(line, input);
            const std::optional<FileIdentity> identity = identityOf(output);
            if (auto found = identity ? read.find(*identity) : read.end(); found != read.end())
                throw CliError::usage("-O " + line.outputDirectory + " would write " + output + " over " +
                                      found->second + ", which this run reads; choose another folder");
        }
    }
    if (!line.outputDirectory.empty()) {
        std::error_code error;
        std::filesystem::create_directories(line.outputDirectory, error);
        if (!std::filesystem::is_directory(line.outputDirectory))
            throw CliError("cannot make the output folder " + line.outputDirectory +
                           (error ? ": " + error.message() : ""));
    }
}

// The GPU time of one draw: a span around it, then a second span whose
// start collects the first once the GPU has finished it.
struct ChainTimer {
    std::shared_ptr<LMPerformanceMonitor> monitor;

    explicit ChainTimer(const std::shared_ptr<LMContext>& context)
        : monitor(LMPerformanceMonitor::performanceMonitorWithContext(context))
    {
        monitor->setUsesTimerThread(false);
        monitor->start();
    }
    std::shared_ptr<LMImage> draw(const std::shared_ptr<LMDrawable>& chain, const std::shared_ptr<LMContext>& context,
                                  double& milliseconds)
    {
        monitor->startTiming();
        auto image = chain->drawWithContext(context);
        monitor->stopTiming();
        context->executeOpenGL([] { glFinish(); });
        monitor->startTiming();
        monitor->stopTiming();
        milliseconds = monitor->timerQueryCreated() ? monitor->latestResultNanoseconds() / 1e6 : -1;
        return image;
    }
};

} // namespace

int runChainCommand(const CommandLine& line, LogRecorder& log)
{
    const std::vector<CheckedFilter> chain = checkChain(line.chain);
    checkOutputs(line, chain);

    // The first picture is read before the context exists: its size is the
    // context's unless --size says otherwise.
    const long noLimitYet = 1L << 30;
    std::shared_ptr<LMPicture> first = readPictureFile(line.inputs.front(), log, noLimitYet);
    LMSize size = line.size ? LMSize{double(line.size->width), double(line.size->height)} : first->size();
    auto context = makeContext(LMSize{1, 1}, log);
    checkSizeFits(size, *context, line.size ? std::string("--size") : "picture " + line.inputs.front());
    context->setDimensions(size);
    context->setCachingEnabled(line.cache);
    const LMContentScaleMode fit = line.fit == CliFit::Stretch ? LMContentScaleModeStretch : LMContentScaleModeFill;

    LMPictureFileOptions options;
    options.quality = line.quality;
    options.lossless = line.lossless;

    std::unique_ptr<ChainTimer> timer = line.time ? std::make_unique<ChainTimer>(context) : nullptr;
    const bool showProgress = line.inputs.size() > 1 && isatty(STDERR_FILENO);
    int failures = 0;
    for (size_t i = 0; i < line.inputs.size(); ++i) {
        const std::string& input = line.inputs[i];
        const std::string output = outputPathFor(line, input);
        if (showProgress)
            std::fprintf(stderr, "\r\033[K[%zu/%zu] %s", i + 1, line.inputs.size(), input.c_str());

        std::shared_ptr<LMPicture> picture;
        try {
            picture = i == 0 ? std::move(first) : readPictureFile(input, log, context->maxTextureSize());
            if (i == 0)
                checkSizeFits(picture->size(), *context, "picture " + input);
        } catch (const CliError& error) {
            // One unreadable picture of a batch spoils only its own output.
            std::fprintf(stderr, "%slumetra: %s\n", showProgress ? "\n" : "", error.what());
            ++failures;
            continue;
        }
        if (!picture->isOpaque()) {
            // Render targets hold colour only: what shows through is the background, and the user is told.
            const LMRGBA background = LMRGBA::fromBytes(line.background[0], line.background[1], line.background[2]);
            picture = picture->pictureFlattenedOnto(background);
            if (!picture)
                throw CliError("out of memory flattening " + input);
            char colour[8];
            std::snprintf(colour, sizeof colour, "#%02x%02x%02x", line.background[0], line.background[1],
                          line.background[2]);
            std::fprintf(stderr, "%slumetra: %s has transparent pixels: flattened onto %s (--background)\n",
                         showProgress ? "\n" : "", input == "-" ? "standard input" : input.c_str(), colour);
        }
        if (!line.size && !(picture->size() == context->dimensions()))
            context->setDimensions(picture->size());

        ChainBuilder builder(context, fit, log);
        // At its own size, then resampled to the context's.
        auto source = picture->lumetraImageOfOwnSizeWithContext(context);
        // Once uploaded, only what the picture carries beyond its pixels is needed.
        options.bitsPerSample = line.depth ? line.depth : picture->bitsPerSample();
        const PictureTraits traits{picture->isGrey(), picture->iccProfile(), picture->exifData()};
        picture.reset();
        if (!source)
            throw CliError("cannot bring " + input + " into the GL context");
        source = builder.fitted(source, context->dimensions());
        auto result = builder.build(chain, source, context->dimensions());
        double milliseconds = 0;
        auto image = timer ? timer->draw(result, context, milliseconds) : result->drawWithContext(context);
        options.format = outputFormat(output, line.format);
        writeOutputPicture(image, output, options, &traits, log);
        // Standard output may carry the picture: reports go to standard error.
        if (timer) {
            if (milliseconds < 0)
                std::fprintf(stderr, "%s: GPU time unavailable (no timer queries)\n", input.c_str());
            else
                std::fprintf(stderr, "%s: GPU time of the chain %.3f ms\n", input.c_str(), milliseconds);
        }
    }
    if (showProgress)
        std::fprintf(stderr, "\r\033[K%zu of %zu written to %s\n", line.inputs.size() - failures, line.inputs.size(),
                     line.outputDirectory.c_str());
    return failures ? CliError::failureStatus : 0;
}

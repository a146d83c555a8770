#pragma once

#include "ChainBuilder.h"

#include <lumetra/lumetra.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

// A node of a graph built in a context: what a filter, a picture or the
// graph's open input became there, with the size of what it makes.
struct BuiltNode {
    std::shared_ptr<LMDrawable> drawable;
    LMSize size;
};

// What the Python module's Context is: a rendering context, the builder
// that turns filters written as the tool writes them into nodes, and a lock,
// since a context takes one caller at a time while Python threads may share
// it. Every method that does GL work is called without the GIL. Builds go
// through the tool's own checks and builder, so a filter's keys, values and
// messages are the tool's.
//
// Threads: any thread; each method holds the context's lock for its whole run.
class PythonContext {
public:
    PythonContext(LMSize size, bool caching, bool fusion);

    void close();
    bool isClosed() const { return !context_; }

    LMSize size();
    // A new size drops the nodes built for the old one.
    void setSize(LMSize size);
    bool caching();
    void setCaching(bool enabled);
    bool fusion();
    void setFusion(bool enabled);
    std::map<std::string, std::string> info();

    // The picture in the context at its own size.
    BuiltNode upload(const std::shared_ptr<LMPicture>& picture);
    // Rows of `channels` samples of `bitsPerSample`, top down, packed, in
    // the context at their own size; no picture in between.
    BuiltNode uploadPixels(const void* pixels, long width, long height, int channels, int bitsPerSample);
    // The node resampled to `size` as the tool fits its pictures (resized to
    // cover, the middle kept); the node itself when it has that size.
    BuiltNode fitted(const BuiltNode& node, LMSize size);
    // A node that passes on whatever is given to feed() later: a graph's open input.
    BuiltNode openInput(LMSize size);
    void feed(const BuiltNode& openInput, const BuiltNode& source);
    // One filter as the tool writes it (`name`, then key=value pairs) on
    // `chainInput` (may be empty for a filter that takes none), with
    // `namedInputs` standing for the pictures its keys name and `kernels`
    // for the kernel files. Throws CliError with the tool's message.
    BuiltNode build(const std::string& name, const std::vector<std::pair<std::string, std::string>>& parameters,
                    const BuiltNode* chainInput, LMSize size, const std::map<std::string, BuiltNode>& namedInputs,
                    const std::map<std::string, std::string>& kernels);
    // The node drawn and read back at 8 or 16 bits a sample.
    std::shared_ptr<LMPicture> draw(const BuiltNode& node, int bitsPerSample);
    // The node drawn and read back straight into `pixels`, rows top down,
    // `channels` samples of `bitsPerSample` each; false when what it drew is
    // not `width` by `height` pixels.
    bool drawInto(const BuiltNode& node, int channels, int bitsPerSample, void* pixels, long width, long height);

private:
    std::shared_ptr<LMContext> checkedContext();
    // Drawn with the marks brought up to date; throws a CliError with the log's lines when nothing could be.
    std::shared_ptr<LMImage> drawnImage(const BuiltNode& node, const std::shared_ptr<LMContext>& context);
    [[noreturn]] void failedDraw();

    std::mutex mutex_;
    std::shared_ptr<LMContext> context_;
    std::unique_ptr<ChainBuilder> builder_;
    // Open inputs given a new source since the last draw: marked until it.
    std::vector<std::shared_ptr<LMPassthrough>> fedInputs_;
};

// How many draws have finished in this process, counted before each returns
// to Python: what shows that a draw goes on while another thread holds the GIL.
long drawsCompleted();

// The log the library writes to while the module is loaded.
LogRecorder& moduleLog();

#include "PythonContext.h"

#include "CliError.h"
#include "Commands.h"
#include "FilterCatalog.h"

#include <lumetra/lumetra.h>

#include <atomic>

namespace {
std::atomic<long> completedDraws{0};
} // namespace

long drawsCompleted()
{
    return completedDraws.load();
}

LogRecorder& moduleLog()
{
    // Never destroyed: the library may log while Python tears the module down.
    static LogRecorder* log = new LogRecorder(false);
    return *log;
}

PythonContext::PythonContext(LMSize size, bool caching, bool fusion)
{
    std::lock_guard lock(mutex_);
    context_ = makeContext(LMSize{1, 1}, moduleLog());
    checkSizeFits(size, *context_, "a context");
    context_->setDimensions(size);
    context_->setCachingEnabled(caching);
    context_->setFusionEnabled(fusion);
    builder_ = std::make_unique<ChainBuilder>(context_, LMContentScaleModeFill, moduleLog());
}

std::shared_ptr<LMContext> PythonContext::checkedContext()
{
    if (!context_)
        throw CliError("the context is closed");
    return context_;
}

void PythonContext::close()
{
    std::lock_guard lock(mutex_);
    builder_.reset();
    context_.reset();
}

LMSize PythonContext::size()
{
    std::lock_guard lock(mutex_);
    return checkedContext()->dimensions();
}

void PythonContext::setSize(LMSize size)
{
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    if (size == context->dimensions())
        return;
    checkSizeFits(size, *context, "a context");
    context->setDimensions(size);
    builder_ = std::make_unique<ChainBuilder>(context, LMContentScaleModeFill, moduleLog());
}

bool PythonContext::caching()
{
    std::lock_guard lock(mutex_);
    return checkedContext()->cachingEnabled();
}

void PythonContext::setCaching(bool enabled)
{
    std::lock_guard lock(mutex_);
    checkedContext()->setCachingEnabled(enabled);
}

bool PythonContext::fusion()
{
    std::lock_guard lock(mutex_);
    return checkedContext()->fusionEnabled();
}

void PythonContext::setFusion(bool enabled)
{
    std::lock_guard lock(mutex_);
    checkedContext()->setFusionEnabled(enabled);
}

std::map<std::string, std::string> PythonContext::info()
{
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    std::map<std::string, std::string> info;
    context->executeOpenGL([&info] {
        for (auto [key, name] : {std::pair{"renderer", GL_RENDERER},
                                 {"vendor", GL_VENDOR},
                                 {"version", GL_VERSION},
                                 {"glsl", GL_SHADING_LANGUAGE_VERSION}}) {
            const auto* text = reinterpret_cast<const char*>(glGetString(name));
            info[key] = text ? text : "";
        }
    });
    const LMEGLDisplay* display = LMEGLDisplay::shared();
    info["platform"] = display ? LMEGLDisplay::platformName(display->platform()) : "none";
    info["max_texture_size"] = std::to_string(context->maxTextureSize());
    return info;
}

BuiltNode PythonContext::upload(const std::shared_ptr<LMPicture>& picture)
{
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    checkSizeFits(picture->size(), *context, "a picture");
    auto image = picture->lumetraImageOfOwnSizeWithContext(context);
    if (!image)
        throw CliError("cannot bring a picture of " + std::to_string(long(picture->size().width)) + "x" +
                       std::to_string(long(picture->size().height)) + " into the GL context");
    return {image, picture->size()};
}

BuiltNode PythonContext::uploadPixels(const void* pixels, long width, long height, int channels, int bitsPerSample)
{
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    const LMSize size{double(width), double(height)};
    checkSizeFits(size, *context, "a picture");
    auto image = LMPicture::imageWithPixels(context, pixels, int32_t(width), int32_t(height), channels, bitsPerSample,
                                            size_t(width) * size_t(channels) * size_t(bitsPerSample / 8));
    if (!image)
        throw CliError("cannot bring a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                       " into the GL context");
    return {image, size};
}

BuiltNode PythonContext::fitted(const BuiltNode& node, LMSize size)
{
    if (node.size == size)
        return node;
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    auto drawn = node.drawable->drawWithContext(context);
    if (!drawn || !drawn->target())
        throw CliError("cannot draw a picture to fit it");
    return {builder_->fitted(drawn, size), size};
}

BuiltNode PythonContext::openInput(LMSize size)
{
    std::lock_guard lock(mutex_);
    checkedContext();
    return {LMPassthrough::passthrough(), size};
}

void PythonContext::feed(const BuiltNode& openInput, const BuiltNode& source)
{
    std::lock_guard lock(mutex_);
    auto passthrough = std::dynamic_pointer_cast<LMPassthrough>(openInput.drawable);
    if (passthrough->input() != source.drawable) {
        passthrough->setInput(source.drawable);
        // Whatever was drawn from the last source is stale: the mark reaches
        // the nodes it feeds when the draw asks the graph, and is taken off
        // once they have drawn (a picture never clears it by itself).
        passthrough->setNeedsRedraw(true);
        fedInputs_.push_back(passthrough);
    }
}

BuiltNode PythonContext::build(const std::string& name,
                               const std::vector<std::pair<std::string, std::string>>& parameters,
                               const BuiltNode* chainInput, LMSize size,
                               const std::map<std::string, BuiltNode>& namedInputs,
                               const std::map<std::string, std::string>& kernels)
{
    std::vector<CheckedFilter> checked = checkChain({FilterSpec{name, parameters}});
    std::lock_guard lock(mutex_);
    checkedContext();
    for (const auto& [placeholder, node] : namedInputs)
        builder_->provideInput(placeholder, node.drawable, node.size);
    for (const auto& [placeholder, source] : kernels)
        builder_->provideKernel(placeholder, source);
    LMSize made = size;
    auto drawable = builder_->build(checked, chainInput ? chainInput->drawable : nullptr, size, &made);
    return {drawable, made};
}

std::shared_ptr<LMImage> PythonContext::drawnImage(const BuiltNode& node, const std::shared_ptr<LMContext>& context)
{
    moduleLog().takeLines();
    // With caching, whoever pulls a graph brings its marks up to date first.
    if (auto* caching = dynamic_cast<LMDrawableCaching*>(node.drawable.get()); caching && context->cachingEnabled())
        caching->updateNeedsRedraw();
    auto image = node.drawable->drawWithContext(context);
    if (!image)
        failedDraw();
    for (const auto& fed : std::exchange(fedInputs_, {}))
        fed->setNeedsRedraw(false);
    return image;
}

void PythonContext::failedDraw()
{
    std::string reason;
    for (const std::string& line : moduleLog().takeLines())
        reason += "\n  " + line;
    throw CliError("the graph could not be drawn" + (reason.empty() ? std::string() : ":" + reason));
}

std::shared_ptr<LMPicture> PythonContext::draw(const BuiltNode& node, int bitsPerSample)
{
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    auto picture = LMPicture::imageWithLMImage(drawnImage(node, context), bitsPerSample);
    if (!picture)
        failedDraw();
    ++completedDraws;
    return picture;
}

bool PythonContext::drawInto(const BuiltNode& node, int channels, int bitsPerSample, void* pixels, long width,
                             long height)
{
    std::lock_guard lock(mutex_);
    auto context = checkedContext();
    auto image = drawnImage(node, context);
    if (long(image->dimensions().width) != width || long(image->dimensions().height) != height)
        return false;
    if (!LMPicture::readPixels(image, channels, bitsPerSample, pixels,
                               size_t(width) * size_t(channels) * size_t(bitsPerSample / 8)))
        failedDraw();
    ++completedDraws;
    return true;
}

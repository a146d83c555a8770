// GL state a host block leaves behind. A host runs its own GL in the
// context's queue and may leave pixel-store parameters, pixel buffers,
// capabilities, masks, a viewport, sampler objects or a framebuffer's draw
// and read buffers as it likes. Every library read-back, upload and draw that
// follows must give exactly what it gives on a context no host touched, and
// leave no GL error behind.

#include "support/GLObjects.h"
#include "support/LogCapture.h"
#include "support/TexturePixels.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

// Odd sizes: bitmap rows are padded, so a row length GL takes from
// elsewhere shows.
constexpr int width = 7, height = 5;

using Bytes = std::vector<uint8_t>;

Bytes bytesOf(const std::shared_ptr<LMPicture>& picture)
{
    if (!picture)
        return {};
    const LMBitmap& bitmap = *picture->bitmap();
    Bytes bytes;
    for (int y = 0; y < bitmap.pixelsHigh(); ++y)
        bytes.insert(bytes.end(), bitmap.rowAt(y), bitmap.rowAt(y) + bitmap.pixelsWide() * 4);
    return bytes;
}

Pixel gradient(int x, int y)
{
    return {uint8_t(30 * x + 10), uint8_t(40 * y + 20), uint8_t(200 - 25 * x), 255};
}

std::shared_ptr<LMPicture> gradientPicture()
{
    auto bitmap = newBIR(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            std::memcpy(bitmap->rowAt(y) + x * 4, gradient(x, y).data(), 4);
    return LMPicture::pictureWithBitmap(bitmap);
}

// What each library path gives on one context after the same host block ran
// before each of them.
struct Outcome {
    std::optional<LMRGBA> pixel;
    Bytes readBack;
    Bytes upload;
    Bytes draw;
    std::vector<GLenum> errors;
    std::vector<std::string> logged;
};

// Every framebuffer of the context that GL knows, as a host that walks the
// names it can see would find them.
template <class Each>
void forEachFramebuffer(Each each)
{
    for (GLuint name = 1; name < 256; ++name)
        if (glIsFramebuffer(name))
            each(name);
}

Outcome outcomeAfter(const std::function<void()>& hostBlock)
{
    auto context = LMContext::contextWithDimensions({width, height});
    LogCapture log;
    // Drawn, and a texture made, before the host does anything.
    auto colour = LMColor::colorWithRed(0.2, 0.6, 0.8)->drawWithContext(context);
    const GLuint texture = makeTexture(*context, width, height, gradient);

    // Everything drawn once and let go, so that later draws reuse pooled
    // targets whose framebuffers the host can reach.
    for (int i = 0; i < 2; ++i) {
        auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
        LMFilterInvert::filterWithInput(LMFilterTransform::filterWithInput(adapter->convertTexture(texture, {width, height})))->drawWithContext(context);
        gradientPicture()->lumetraImageWithContext(context, LMContentScaleModeStretch);
    }

    Outcome outcome;
    auto host = [&] {
        if (hostBlock)
            context->executeOpenGL(hostBlock);
    };
    auto noteError = [&] { outcome.errors.push_back(pendingGLError(*context)); };

    host();
    outcome.pixel = colour->readPixelColorAtX(3, 2);
    noteError();
    host();
    outcome.readBack = bytesOf(LMPicture::imageWithLMImage(colour));
    noteError();
    host();
    auto uploaded = gradientPicture()->lumetraImageWithContext(context, LMContentScaleModeStretch);
    noteError();
    outcome.upload = bytesOf(LMPicture::imageWithLMImage(uploaded));
    host();
    // Half a pixel over: the transform samples between texels, so the
    // sampler's filtering shows too.
    auto adapter = LMOpenGLTextureAdapter::adapterWithContext(context);
    auto moved = LMFilterTransform::filterWithInput(adapter->convertTexture(texture, {width, height}));
    LMAffineTransform halfPixel;
    halfPixel.translateXBy(0.5, 0);
    moved->setTransform(halfPixel);
    auto drawn = LMFilterInvert::filterWithInput(moved)->drawWithContext(context);
    noteError();
    outcome.draw = bytesOf(LMPicture::imageWithLMImage(drawn));
    deleteTexture(*context, texture);
    outcome.logged = log.lines();
    return outcome;
}

// The first pixel that differs, rather than two whole pictures.
void expectSameBytes(const Bytes& got, const Bytes& wanted, const std::string& what)
{
    if (got.size() != wanted.size())
        return ADD_FAILURE() << what << ": " << got.size() << " bytes instead of " << wanted.size();
    for (size_t i = 0; i < got.size(); ++i)
        if (got[i] != wanted[i])
            return ADD_FAILURE() << what << ": pixel " << i / 4 % width << ", " << i / 4 / width << " from the top, "
                                 << "channel " << i % 4 << " is " << int(got[i]) << " instead of " << int(wanted[i]);
}

struct HostLeftover {
    std::string what;
    std::function<void()> block;
};

// A small buffer: reading into or from it at the library's pointers fails.
void bindSmallBuffer(GLenum target)
{
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(target, buffer);
    glBufferData(target, 16, nullptr, GL_STREAM_COPY);
}

const std::vector<HostLeftover> leftovers = {
    {"pack skip pixels", [] { glPixelStorei(GL_PACK_SKIP_PIXELS, 3); }},
    {"pack skip rows", [] { glPixelStorei(GL_PACK_SKIP_ROWS, 2); }},
    {"a bound pixel-pack buffer", [] { bindSmallBuffer(GL_PIXEL_PACK_BUFFER); }},
    {"unpack skip pixels", [] { glPixelStorei(GL_UNPACK_SKIP_PIXELS, 3); }},
    {"unpack skip rows", [] { glPixelStorei(GL_UNPACK_SKIP_ROWS, 2); }},
    {"a bound pixel-unpack buffer", [] { bindSmallBuffer(GL_PIXEL_UNPACK_BUFFER); }},
    {"a one-pixel scissor",
     [] {
         glEnable(GL_SCISSOR_TEST);
         glScissor(0, 0, 1, 1);
     }},
    {"a colour mask that writes nothing", [] { glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE); }},
    {"culling every face",
     [] {
         glEnable(GL_CULL_FACE);
         glCullFace(GL_FRONT_AND_BACK);
     }},
    {"rasterizer discard", [] { glEnable(GL_RASTERIZER_DISCARD); }},
    {"a logic op that sets every bit",
     [] {
         glEnable(GL_COLOR_LOGIC_OP);
         glLogicOp(GL_SET);
     }},
    {"blending that keeps the destination",
     [] {
         glEnable(GL_BLEND);
         glBlendFunc(GL_ZERO, GL_ONE);
     }},
    {"polygons drawn as lines", [] { glPolygonMode(GL_FRONT_AND_BACK, GL_LINE); }},
    {"a one-pixel viewport", [] { glViewport(0, 0, 1, 1); }},
    {"sampler objects that sample nearest",
     [] {
         GLuint sampler = 0;
         glGenSamplers(1, &sampler);
         glSamplerParameteri(sampler, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
         glSamplerParameteri(sampler, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
         for (GLuint unit = 0; unit < 8; ++unit)
             glBindSampler(unit, sampler);
     }},
    {"no read buffer on any framebuffer",
     [] {
         forEachFramebuffer([](GLuint name) {
             glBindFramebuffer(GL_FRAMEBUFFER, name);
             glReadBuffer(GL_NONE);
         });
     }},
    {"no draw buffer on any framebuffer",
     [] {
         forEachFramebuffer([](GLuint name) {
             glBindFramebuffer(GL_FRAMEBUFFER, name);
             glDrawBuffer(GL_NONE);
         });
     }},
};

TEST(HostGLStateTest, ReadBacksUploadsAndDrawsIgnoreWhatAHostBlockLeaves)
{
    const Outcome clean = outcomeAfter({});
    ASSERT_TRUE(clean.pixel);
    EXPECT_EQ(*clean.pixel, (LMRGBA{51 / 255.0, 153 / 255.0, 204 / 255.0, 1}));
    ASSERT_EQ(clean.readBack.size(), size_t(width * height * 4));
    ASSERT_EQ(clean.upload.size(), size_t(width * height * 4));
    // The upload round trip is exact: compare with the picture itself.
    EXPECT_EQ(clean.upload, bytesOf(gradientPicture()));
    ASSERT_EQ(clean.draw.size(), size_t(width * height * 4));
    EXPECT_TRUE(clean.logged.empty());

    for (const HostLeftover& leftover : leftovers) {
        SCOPED_TRACE("after a host block that leaves " + leftover.what);
        const Outcome outcome = outcomeAfter(leftover.block);
        EXPECT_EQ(outcome.pixel, clean.pixel) << "readPixelColorAtX";
        expectSameBytes(outcome.readBack, clean.readBack, "imageWithLMImage");
        expectSameBytes(outcome.upload, clean.upload, "lumetraImageWithContext");
        expectSameBytes(outcome.draw, clean.draw, "a filter draw");
        for (GLenum error : outcome.errors)
            EXPECT_EQ(error, GLenum(GL_NO_ERROR));
        for (const std::string& line : outcome.logged)
            ADD_FAILURE() << "logged: " << line;
    }
}

// A host block that draws with the library in the middle of its own GL: a
// draw after the host's changes is whole, whatever came before it.
TEST(HostGLStateTest, ADrawInsideAHostBlockAfterItsOwnGLIsWhole)
{
    auto context = LMContext::contextWithDimensions({width, height});
    auto colour = LMColor::colorWithRed(0.2, 0.6, 0.8);
    auto invert = LMFilterInvert::filterWithInput(colour);
    std::shared_ptr<LMImage> before, after;
    context->executeOpenGL([&] {
        before = invert->drawWithContext(context);
        glEnable(GL_SCISSOR_TEST);
        glScissor(0, 0, 1, 1);
        invert->setNeedsRedraw(true);
        after = invert->drawWithContext(context);
    });
    const Bytes whole = bytesOf(LMPicture::imageWithLMImage(before));
    ASSERT_EQ(whole.size(), size_t(width * height * 4));
    expectSameBytes(bytesOf(LMPicture::imageWithLMImage(after)), whole, "the second draw");
}

// A read-back that GL refuses returns nothing and says so, rather than the
// zeros of its buffer passed off as black. A host can make GL refuse by
// leaving a pixel-pack buffer mapped; the library unbinds it, so the refusal
// here comes from reading a framebuffer that is not complete.
TEST(HostGLStateTest, AReadBackThatGLRefusesGivesNothingAndALine)
{
    auto context = LMContext::contextWithDimensions({width, height});
    auto image = LMColor::whiteColor()->drawWithContext(context);
    // The host detaches the texture from the image's framebuffer.
    context->executeOpenGL([&] {
        glBindFramebuffer(GL_FRAMEBUFFER, image->framebuffer());
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_RECTANGLE, 0, 0);
    });
    LogCapture log;
    EXPECT_FALSE(image->readPixelColorAtX(0, 0));
    EXPECT_FALSE(LMPicture::imageWithLMImage(image));
    const std::vector<std::string> lines = log.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "LMImage: Error 0x0506 reading back pixel 0, 0; returning nothing");
    EXPECT_EQ(lines[1], "LMPicture: Error 0x0506 reading back an image of 7 by 5 pixels");
    EXPECT_EQ(pendingGLError(*context), GLenum(GL_NO_ERROR));
}

} // namespace

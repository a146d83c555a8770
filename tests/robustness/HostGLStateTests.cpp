// GL state a host block leaves behind. Every library read-back, upload and
// draw after it must give exactly what it gives on a context no host
// touched, and leave no GL error or log line.

#include "support/GLObjects.h"
#include "support/LogCapture.h"
#include "support/PixelsInOut.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

// Odd sizes: bitmap rows are padded, so a row length GL takes from elsewhere shows.
constexpr int width = 7, height = 5;
using Block = std::function<void()>;

Pixel gradient(int x, int y)
{
    return {uint8_t(30 * x + 10), uint8_t(40 * y + 20), uint8_t(200 - 25 * x), 255};
}

struct Outcome {
    std::optional<LMRGBA> pixel;
    Pixels readBack, upload, draw;
    std::vector<std::string> logged;
    bool errorLeft = false;
};

// On a new context, the host block runs before each of four operations.
Outcome outcomeAfter(const Block& hostBlock)
{
    auto context = LMContext::contextWithDimensions({width, height});
    LogCapture log;
    auto colour = LMColor::colorWithRed(0.2, 0.6, 0.8)->drawWithContext(context);
    const GLuint texture = makeTexture(*context, width, height, gradient);
    // Half a pixel over, so that the sampler's filtering shows too.
    auto draw = [&] {
        auto moved = LMFilterTransform::filterWithInput(
            LMOpenGLTextureAdapter::adapterWithContext(context)->convertTexture(texture, {width, height}));
        LMAffineTransform halfPixel;
        moved->setTransform(halfPixel.translateXBy(0.5, 0));
        return LMFilterInvert::filterWithInput(moved)->drawWithContext(context);
    };
    // Drawn once and let go, so that later draws reuse targets the host can reach.
    draw();
    // The host block runs before each operation.
    auto host = [&] { return hostBlock ? context->executeOpenGL(hostBlock) : void(); };
    Outcome outcome;
    host(), outcome.pixel = colour->readPixelColorAtX(3, 2);
    host(), outcome.readBack = pixelsOf(colour);
    host(), outcome.upload = pixelsOf(imageOf(context, pixelsOf(width, height, gradient)));
    host(), outcome.draw = pixelsOf(draw());
    outcome.errorLeft = pendingGLError(*context) != GL_NO_ERROR;
    deleteTexture(*context, texture);
    outcome.logged = log.lines();
    return outcome;
}

void bindSmallBuffer(GLenum target)
{
    GLuint buffer = 0;
    glGenBuffers(1, &buffer), glBindBuffer(target, buffer), glBufferData(target, 16, nullptr, GL_STREAM_COPY);
}

// What a host that walks the names it can see finds: every framebuffer.
void onEveryFramebuffer(void (*set)(GLenum))
{
    for (GLuint name = 1; name < 256; ++name)
        if (glIsFramebuffer(name)) {
            glBindFramebuffer(GL_FRAMEBUFFER, name);
            set(GL_NONE);
        }
}

TEST(HostGLStateTest, ReadBacksUploadsAndDrawsIgnoreWhatAHostBlockLeaves)
{
    const Outcome clean = outcomeAfter({});
    ASSERT_EQ(clean.pixel, (LMRGBA{51 / 255.0, 153 / 255.0, 204 / 255.0, 1}));
    ASSERT_EQ(clean.draw.pixels.size(), size_t(width * height));
    EXPECT_EQ(clean.upload, pixelsOf(width, height, gradient)) << "the upload is exact";

    const std::vector<std::pair<std::string, Block>> leftovers = {
        {"pack skip pixels", [] { glPixelStorei(GL_PACK_SKIP_PIXELS, 3); }},
        {"pack skip rows", [] { glPixelStorei(GL_PACK_SKIP_ROWS, 2); }},
        {"a pixel-pack buffer", [] { bindSmallBuffer(GL_PIXEL_PACK_BUFFER); }},
        {"unpack skip pixels", [] { glPixelStorei(GL_UNPACK_SKIP_PIXELS, 3); }},
        {"unpack skip rows", [] { glPixelStorei(GL_UNPACK_SKIP_ROWS, 2); }},
        {"a pixel-unpack buffer", [] { bindSmallBuffer(GL_PIXEL_UNPACK_BUFFER); }},
        {"a one-pixel scissor", [] { glEnable(GL_SCISSOR_TEST), glScissor(0, 0, 1, 1); }},
        {"a colour mask of nothing", [] { glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE); }},
        {"culling every face", [] { glEnable(GL_CULL_FACE), glCullFace(GL_FRONT_AND_BACK); }},
        {"rasterizer discard", [] { glEnable(GL_RASTERIZER_DISCARD); }},
        {"a logic op that sets every bit", [] { glEnable(GL_COLOR_LOGIC_OP), glLogicOp(GL_SET); }},
        {"blending that keeps the destination", [] { glEnable(GL_BLEND), glBlendFunc(GL_ZERO, GL_ONE); }},
        {"polygons as lines", [] { glPolygonMode(GL_FRONT_AND_BACK, GL_LINE); }},
        {"a one-pixel viewport", [] { glViewport(0, 0, 1, 1); }},
        // A texture is sampled from the unit its program reads, whatever unit was left active.
        {"nothing bound, and another texture unit active",
         [] {
             glBindFramebuffer(GL_FRAMEBUFFER, 0), glUseProgram(0), glBindVertexArray(0), glActiveTexture(GL_TEXTURE5);
         }},
        {"nearest-sampling sampler objects",
         [] {
             GLuint sampler = 0;
             glGenSamplers(1, &sampler), glSamplerParameteri(sampler, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
             for (GLuint unit = 0; unit < 8; ++unit)
                 glBindSampler(unit, sampler);
         }},
        {"no read buffer on any framebuffer", [] { onEveryFramebuffer(glReadBuffer); }},
        {"no draw buffer on any framebuffer", [] { onEveryFramebuffer(glDrawBuffer); }},
    };
    for (const auto& [what, block] : leftovers) {
        SCOPED_TRACE("after a host block that leaves " + what);
        const Outcome outcome = outcomeAfter(block);
        EXPECT_EQ(outcome.pixel, clean.pixel) << "readPixelColorAtX";
        EXPECT_TRUE(samePixels(outcome.readBack, clean.readBack, 0)) << "imageWithLMImage";
        EXPECT_TRUE(samePixels(outcome.upload, clean.upload, 0)) << "lumetraImageWithContext";
        EXPECT_TRUE(samePixels(outcome.draw, clean.draw, 0)) << "a filter draw";
        EXPECT_FALSE(outcome.errorLeft);
        EXPECT_EQ(outcome.logged, std::vector<std::string>{});
    }
}

// A host block that draws with the library after its own GL, twice.
TEST(HostGLStateTest, ADrawInsideAHostBlockAfterItsOwnGLIsWhole)
{
    auto context = LMContext::contextWithDimensions({width, height});
    auto invert = LMFilterInvert::filterWithInput(LMColor::colorWithRed(0.2, 0.6, 0.8));
    std::shared_ptr<LMImage> before, after;
    context->executeOpenGL([&] {
        before = invert->drawWithContext(context);
        glEnable(GL_SCISSOR_TEST), glScissor(0, 0, 1, 1);
        invert->setNeedsRedraw(true);
        after = invert->drawWithContext(context);
    });
    EXPECT_TRUE(samePixels(pixelsOf(after), pixelsOf(before), 0)) << "the second draw is cut by the host's scissor";
}

// A read-back GL refuses gives nothing and a line, not its zeroed buffer as black.
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
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"LMImage: Error 0x0506 reading back pixel 0, 0; returning nothing",
                                        "LMPicture: Error 0x0506 reading back an image of 7 by 5 pixels"}));
    EXPECT_EQ(pendingGLError(*context), GLenum(GL_NO_ERROR));
}

} // namespace

#pragma once

// What every bad call of the sweep is checked against: it reports itself in
// the log (or through its documented return value) and leaves the context
// drawing correctly.

#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace robustness {

inline const double notANumber = std::numeric_limits<double>::quiet_NaN();
inline const double infinity = std::numeric_limits<double>::infinity();
// Numbers that no size, control or colour may choke on.
inline const std::vector<double> badNumbers = {notANumber, infinity, -infinity, -1.0, 0.0, 0.5, 1e300};

// How many distinct bad inputs the sweep has tried.
inline int inputsTried = 0;

inline const LMRGBA red{1, 0, 0, 1}, blue{0, 0, 1, 1}, black{0, 0, 0, 1}, white{1, 1, 1, 1};

// Left half red, right half blue: any move of the picture shows.
inline std::shared_ptr<LMPicture> halvesPicture(int width, int height)
{
    auto bitmap = newBIR(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = bitmap->rowAt(y) + x * 4;
            pixel[x < width / 2 ? 0 : 2] = 255;
            pixel[3] = 255;
        }
    return LMPicture::pictureWithBitmap(bitmap);
}

// An image's lower-left pixel, or its upper-right one; nothing without an image.
inline std::optional<LMRGBA> corner(const std::shared_ptr<LMImage>& image, bool upperRight = false)
{
    if (!image)
        return std::nullopt;
    if (!upperRight)
        return image->readPixelColorLowerLeft();
    return image->readPixelColorAtX(int32_t(image->dimensions().width) - 1, int32_t(image->dimensions().height) - 1);
}

inline std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += "\n  " + line;
    return text.empty() ? " (no log line)" : text;
}

// No GL error left behind, and an ordinary draw (a colour, inverted) on the
// context reads the inverse in both far corners, so the viewport is whole
// too. The colour changes from one check to the next, so that a pooled
// target still holding an earlier result cannot pass for a new one.
inline void expectStillDrawing(const std::shared_ptr<LMContext>& context, const std::string& after)
{
    GLenum pending = GL_NO_ERROR;
    context->executeOpenGL([&] { pending = glGetError(); });
    EXPECT_EQ(pending, static_cast<GLenum>(GL_NO_ERROR)) << "GL error left behind by " << after;

    static int checks = 0;
    const LMRGBA colours[] = {LMRGBA::redColor(), LMRGBA::greenColor(), LMRGBA::blueColor()};
    const LMRGBA colour = colours[checks++ % 3];
    const LMRGBA inverse{1 - colour.red, 1 - colour.green, 1 - colour.blue, 1};
    auto image = LMFilterInvert::filterWithInput(LMColor::colorWithColor(colour))->drawWithContext(context);
    ASSERT_TRUE(image && image->target()) << "no ordinary draw after " << after;
    ASSERT_EQ(image->dimensions(), context->dimensions()) << "after " << after;
    EXPECT_EQ(corner(image), inverse) << "after " << after;
    EXPECT_EQ(corner(image, true), inverse) << "after " << after;
}

// One bad input: the call must log a line containing `logged` (nothing at
// all when it is empty), and the context must still draw afterwards, adding
// no log line of its own.
template <class Call>
void sweep(const std::shared_ptr<LMContext>& context, const std::string& what, const std::string& logged, Call&& call)
{
    ++inputsTried;
    LogCapture log;
    call();
    const std::vector<std::string> lines = log.lines();
    if (logged.empty())
        EXPECT_TRUE(lines.empty()) << what << " logged:" << joined(lines);
    else
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](auto& line) { return line.find(logged) != line.npos; }))
            << what << " should log \"" << logged << "\"; logged:" << joined(lines);
    expectStillDrawing(context, what);
    EXPECT_EQ(log.lines().size(), lines.size()) << "the draw after " << what << " logged:" << joined(log.lines());
}

} // namespace robustness

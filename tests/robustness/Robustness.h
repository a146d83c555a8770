#pragma once

// What every bad call of the sweep is checked against: it reports itself in
// the log (or through its documented return value) and leaves the context
// drawing correctly.

#include "support/LogCapture.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace robustness {

inline const double notANumber = std::numeric_limits<double>::quiet_NaN();
inline const double infinity = std::numeric_limits<double>::infinity();
// Numbers that no size, control or colour may choke on.
inline const std::vector<double> badNumbers = {notANumber, infinity, -infinity, -1.0, 0.0, 0.5, 1e300};

// How many distinct bad inputs the sweep has tried.
inline int inputsTried = 0;

inline std::string joined(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += "\n  " + line;
    return text.empty() ? " (no log line)" : text;
}

// Whether a line contains the text, or one of its alternatives separated by '|'.
inline bool anyLineContains(const std::vector<std::string>& lines, const std::string& text)
{
    for (size_t start = 0; start <= text.size();) {
        const size_t end = std::min(text.find('|', start), text.size());
        const std::string part = text.substr(start, end - start);
        auto contains = [&](const std::string& line) { return line.find(part) != line.npos; };
        if (std::any_of(lines.begin(), lines.end(), contains))
            return true;
        start = end + 1;
    }
    return false;
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
    const auto right = static_cast<int32_t>(context->dimensions().width) - 1;
    const auto top = static_cast<int32_t>(context->dimensions().height) - 1;
    EXPECT_EQ(image->readPixelColorAtX(0, 0), inverse) << "after " << after;
    EXPECT_EQ(image->readPixelColorAtX(right, top), inverse) << "after " << after;
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
        EXPECT_TRUE(anyLineContains(lines, logged))
            << what << " should log \"" << logged << "\"; logged:" << joined(lines);
    expectStillDrawing(context, what);
    EXPECT_EQ(log.lines().size(), lines.size()) << "the draw after " << what << " logged:" << joined(log.lines());
}

} // namespace robustness

// The README's host program, run as a newcomer runs it, on pictures written
// here first; its output is checked pixel by pixel against what its three
// filters must give, and the README must show its code exactly.

#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

const std::string work = WORK_DIR;

std::string readFile(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Runs the example; its exit status, and what it wrote to standard error.
int runExample(const std::string& arguments, std::string& errors)
{
    const int status = std::system((PICTURE_HOST " " + arguments + " 2> " + work + "/errors.txt").c_str());
    errors = readFile(work + "/errors.txt");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// How many of the output's pixels differ by more than a level from the input
// decoded, dimmed to a quarter outside the spotlight and encoded. The input's
// column x + offset is the output's column x. Pixels whose centre is within a
// pixel of the spotlight's rim are left out.
int wrongPixels(const LMBitmap& input, int offset, const LMBitmap& output)
{
    const double width = output.pixelsWide(), height = output.pixelsHigh();
    const double centreX = width / 3, centreY = height - height / 4, radius = height / 3;
    int wrong = 0;
    for (int row = 0; row < output.pixelsHigh(); ++row) {
        for (int x = 0; x < output.pixelsWide(); ++x) {
            const double distance = std::hypot(x + 0.5 - centreX, height - row - 0.5 - centreY);
            if (std::fabs(distance - radius) < 1)
                continue;
            const double scale = distance <= radius ? 1 : 0.25;
            for (int channel = 0; channel < 3; ++channel) {
                const double in = input.rowAt(row)[(x + offset) * 4 + channel] / 255.0;
                const long expected = std::lround(255 * toSRGB(fromSRGB(in) * scale));
                if (std::labs(expected - output.rowAt(row)[x * 4 + channel]) > 1 && wrong++ == 0)
                    ADD_FAILURE() << "first wrong pixel: column " << x << ", row " << row << " from the top";
            }
        }
    }
    return wrong;
}

} // namespace

TEST(PictureHost, TheReadmeShowsItsCodeAsItIs)
{
    const std::string example = readFile(EXAMPLE_SOURCE);
    ASSERT_FALSE(example.empty());
    EXPECT_NE(readFile(README_PATH).find("```cpp\n" + example + "```\n"), std::string::npos)
        << "the README's host program is not examples/picture_host.cpp";
}

// Every sample value in a few rows, dark ones included, where the sRGB
// curves change formula: red across, green down, blue mixed.
class PictureHostRun : public testing::Test {
protected:
    void SetUp() override
    {
        std::remove(out.c_str());
        ASSERT_TRUE(picture->writePNGToFile(png) && picture->writeJPEGToFile(jpeg, 90));
    }

    std::shared_ptr<LMBitmap> bitmap = bitmapOf(pixelsOf(200, 100, [](int x, int y) {
        return Pixel{uint8_t(x * 255 / 199), uint8_t((99 - y) * 2), uint8_t(x * 7 + (99 - y) * 3), 255};
    }));
    std::shared_ptr<LMPicture> picture = LMPicture::pictureWithBitmap(bitmap);
    const std::string png = work + "/in.png", jpeg = work + "/in.jpg", out = work + "/out.png";
    std::string errors;
};

// A quiet success, the log kept to itself.
TEST_F(PictureHostRun, DarkensOutsideItsSpotlight)
{
    ASSERT_EQ(runExample(png + " " + out, errors), 0) << errors;
    EXPECT_EQ(errors, "");
    auto written = LMPicture::pictureWithContentsOfFile(out);
    ASSERT_TRUE(written && written->size() == (LMSize{200, 100}));
    EXPECT_EQ(wrongPixels(*bitmap, 0, *written->bitmap()), 0);
}

// A JPEG fitted to 100 by 100: filled at its own scale, so cropped by 50
// columns each side. The reference is the JPEG as decoded.
TEST_F(PictureHostRun, FillsAnotherSizeCroppingTheSides)
{
    ASSERT_EQ(runExample(jpeg + " " + out + " 100 100", errors), 0) << errors;
    auto decoded = LMPicture::pictureWithContentsOfFile(jpeg);
    auto written = LMPicture::pictureWithContentsOfFile(out);
    ASSERT_TRUE(decoded && written && written->size() == (LMSize{100, 100}));
    EXPECT_EQ(wrongPixels(*decoded->bitmap(), 50, *written->bitmap()), 0);
}

// With the library's own line after it.
TEST_F(PictureHostRun, SaysWhatFailed)
{
    EXPECT_EQ(runExample(work + "/missing.png " + out, errors), 1);
    EXPECT_NE(errors.find("picture-host: cannot read the input picture\n  LMPicture: "), std::string::npos) << errors;
}

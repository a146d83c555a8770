// The installed `lumetra` tool, run as a user runs it, on pictures the tests
// make; outputs are read back and compared with the filters' arithmetic
// done here on the CPU.

#include "DemoSheet.h"
#include "support/PixelsInOut.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr int width = 64, height = 48;

const Pixels source = pixelsOf(width, height, [](int x, int y) {
    return Pixel{uint8_t(x * 4 % 256), uint8_t(y * 5 % 256), 128, 255};
});
const Pixels other = pixelsOf(width, height, [](int x, int y) {
    return Pixel{uint8_t((x + y) % 2 * 200), 100, uint8_t(x * 3 % 256), 255};
});
const Pixels inverted = perChannel(source, [](double c) { return 1 - c; });

class CliTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        fs::remove_all(dir_), fs::create_directories(dir_);
        writePicture("in.png", source), writePicture("other.png", other);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(const std::string& name) const { return (dir_ / name).string(); }

    void writePicture(const std::string& name, const Pixels& picture) const
    {
        ASSERT_TRUE(LMPicture::pictureWithBitmap(bitmapOf(picture))->writePNGToFile(path(name)));
    }

    // Runs the tool in the test's folder with no X server, arguments as
    // written, its standard input piped from `feeder` when one is given: its
    // exit status, and what it wrote to stderr; its stdout goes to stdout.bin.
    std::pair<int, std::string> run(const std::string& arguments, const std::string& feeder = "") const
    {
        const std::string command = "cd '" + dir_.string() + "' && " + (feeder.empty() ? "" : feeder + " | ") +
                                    "env -u DISPLAY '" LUMETRA_TOOL "' " + arguments + " > stdout.bin 2> stderr.txt";
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, contents("stderr.txt")};
    }

    std::string contents(const std::string& name) const
    {
        std::stringstream bytes;
        bytes << std::ifstream(path(name), std::ios::binary).rdbuf();
        return bytes.str();
    }

    std::shared_ptr<LMBitmap> readPicture(const std::string& name) const
    {
        auto picture = LMPicture::pictureWithContentsOfFile(path(name));
        return picture ? picture->bitmap() : nullptr;
    }

    // Every pixel of the output against the expectation, within `levels` of 255.
    void expectPixels(const std::string& name, const Pixels& expected, int levels = 1) const
    {
        auto bitmap = readPicture(name);
        ASSERT_TRUE(bitmap) << name;
        EXPECT_TRUE(samePixels(pixelsOf(*bitmap), expected, levels)) << name;
    }

    // The process's own folder: runs of the suite from other build trees may share the machine.
    const fs::path dir_ =
        fs::path(testing::TempDir()) / ("lumetra_cli_" + std::to_string(::getpid()) + "_" +
                                        std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
};

TEST_F(CliTest, ChainsGiveTheFiltersArithmeticAtTheirSizesInPNGAndJPEG)
{
    std::ofstream(path("tint.glsl"))
        << "void main() { lm_output = mix(texture(lm_input, lm_location).rgb, texture(lm_overlay, lm_location).rgb, "
           "lm_amount); }";
    struct Case {
        std::string chain;
        Pixels expected;
        int levels = 1;
        std::string output = "out.png";
    };
    const Case cases[] = {
        // Invert alone is the output tests' chain.
        {"-- invert -- fader control=0.5", perChannel(source, [](double s) { return (1 - s) / 2; })},
        {"-- max2 with=other.png", perChannel(source, other, [](double s, double o) { return std::max(s, o); })},
        // Through the tool's own keys; the posterize sees what the levels stored.
        {"-- levels in-low=0.2 in-high=0.8 -- posterize levels=3",
         perChannel(source,
                    [](double s) { return std::floor(stored(std::clamp((s - 0.2) / 0.6, 0.0, 1.0)) * 2 + 0.5) / 2; })},
        {"-- kernel file=tint.glsl inputs=input,overlay overlay=other.png controls=amount amount=0.25",
         perChannel(source, other, [](double s, double o) { return s * 0.75 + o * 0.25; })},
        // Centred 15 pixels from the top.
        {"-- circle radius=10 center=20,15",
         pixelsOf(width, height,
                  [](int x, int y) { return std::hypot(x + 0.5 - 20, height - y - 0.5 - 15) <= 10 ? white : black; })},
        // Eight pixels right and five down, tiling over the edges.
        {"-- transform translate=8,5",
         pixelsOf(width, height, [](int x, int y) { return source.at((x - 8 + width) % width, (y + 5) % height); })},
        // JPEG is lossy: a smooth picture comes back within a few levels.
        {"-- fader control=1", source, 24, "out.jpg"},
        // Twice the size each way, within two levels however it is sampled.
        {"--size 128x96 --fit stretch -- invert",
         pixelsOf(128, 96, [](int x, int y) { return inverted.at(x / 2, y / 2); }), 2},
        // Crop and rot change the size; every filter after them works at the
        // new one (the transform tiles over the 12 by 20 image, not the
        // context). From the top-left: the crop's (cx, cy) is the source's
        // (10 + cx, 4 + cy); turned clockwise, the 12 by 20 image's (tx, ty)
        // is the crop's (ty, 11 - tx).
        {"-- crop x=10 y=4 width=20 height=12 -- rot angle=90 -- transform translate=5,0 -- invert",
         pixelsOf(12, 20, [](int x, int y) { return inverted.at(29 - y, height - 16 + (x + 7) % 12); }), 0},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.chain);
        fs::remove(path(test.output));
        const auto [status, err] = run("in.png -o " + test.output + " " + test.chain);
        ASSERT_EQ(status, 0) << err;
        EXPECT_EQ(err, "");
        expectPixels(test.output, test.expected, test.levels);
    }
}

// The list comes from the library's registry, by group; each filter's help from its declaration.
TEST_F(CliTest, HelpListsEveryRegisteredFilter)
{
    ASSERT_EQ(run("--help").first, 0);
    const std::string help = contents("stdout.bin");
    for (const LMFilterRegistry::Entry& entry : LMFilterRegistry::shared().entries())
        EXPECT_NE(help.find("    " + entry.declaration->toolName() + " "), std::string::npos)
            << entry.declaration->toolName();
    ASSERT_EQ(run("--help crop").first, 0);
    EXPECT_NE(contents("stdout.bin").find("width=(required)  the width, in pixels (1 to any)"), std::string::npos);
}

// A one-pixel checkerboard brought to a fifth of its size each way is flat
// grey, stretched or filled: the resampling averages, it does not pick (each
// output centre falls on one input pixel's centre).
TEST_F(CliTest, FittingAPictureDownDoesNotAlias)
{
    writePicture("checks.png", pixelsOf(250, 190, [](int x, int y) { return (x + y) % 2 ? white : black; }));
    for (const auto& [size, fit, high] : {std::tuple{"50x38", "stretch", 38}, std::tuple{"50x30", "fill", 30}}) {
        ASSERT_EQ(run(std::string("checks.png -o small.png --size ") + size + " --fit " + fit + " -- invert").first, 0);
        expectPixels("small.png", pixelsOf(50, high, [](int, int) { return Pixel{128, 128, 128, 255}; }), 2);
    }
}

// After a resize the chain works at the new size: a circle placed in its
// pixels, and a with= picture fitted to them (four flat quarters stay four).
TEST_F(CliTest, FiltersAfterAResizeWorkAtItsSize)
{
    const Pixel quarters[2][2] = {{Pixel{200, 40, 40, 255}, Pixel{40, 200, 40, 255}},
                                  {Pixel{40, 40, 200, 255}, Pixel{220, 220, 60, 255}}};
    writePicture("quarters.png",
                 pixelsOf(width, height, [&](int x, int y) { return quarters[y >= height / 2][x >= width / 2]; }));
    ASSERT_EQ(run("in.png -o circle.png -- resize width=32 -- invert -- circle radius=6 center=10,8").first, 0);
    expectPixels("circle.png", pixelsOf(32, 24, [](int x, int y) {
                     return std::hypot(x + 0.5 - 10, 24 - y - 0.5 - 8) <= 6 ? white : black;
                 }));
    ASSERT_EQ(run("in.png -o max.png -- resize width=32 -- fader control=0 -- max2 with=quarters.png").first, 0);
    auto bitmap = readPicture("max.png");
    ASSERT_TRUE(bitmap && bitmap->pixelsWide() == 32 && bitmap->pixelsHigh() == 24);
    const Pixels out = pixelsOf(*bitmap);
    for (int q = 0; q < 4; ++q)
        EXPECT_TRUE(samePixels(pixelsOf(1, 1, [&](int, int) { return out.at(8 + 16 * (q % 2), 6 + 12 * (q / 2)); }),
                               pixelsOf(1, 1, [&](int, int) { return quarters[q / 2][q % 2]; })))
            << "quarter " << q;
}

// Every class of bad input, and files and streams that never end or are far
// too long (each read no further than its limit): one message, no output.
TEST_F(CliTest, BadInputEndsWithOneMessageAndNoOutput)
{
    std::ofstream(path("broken.glsl")) << "void main() {\n    lm_output = undefinedThing;\n}\n";
    std::ofstream(path("notapicture.png")) << "hello";
    std::ofstream(path("damaged.cube")) << "LUT_3D_SIZE 2\n0 0 0\n1 0 0\n0 1,0 0\n";
    // Two gigabytes and a byte behind a PNG signature, stored sparsely.
    std::ofstream(path("huge.png"), std::ios::binary) << "\x89PNG\r\n\x1a\n";
    fs::resize_file(path("huge.png"), (std::uintmax_t(1) << 31) + 1);
    std::string tooLong = "in.png -o out.png";
    for (int i = 0; i < 1001; ++i)
        tooLong += " -- invert";
    struct Case {
        std::string arguments;
        int status;
        std::string message;
        std::string feeder = {}; // a shell command whose output is the tool's standard input
        bool severalLines = false; // a usage summary or the compiler's log after the message
    };
    const Case cases[] = {
        {"in.png -o out.png -- blur", 2, "unknown filter \"blur\"", "", true},
        {"in.png -o out.png -- fader control=nan", 2, "control=nan: not a finite number"},
        {"in.png -o out.png -- crop width=0 height=5", 2, "crop: width=0: must be at least 1"},
        {"in.png -o out.png -- gamma gamma=0", 2, "gamma: gamma=0: must be at least 0.01"},
        {"in.png -o out.png -- color-matrix matrix=1,0,0,0,0,1,0,0,0,0,1", 2, "not 12 numbers, separated by commas"},
        {"in.png -o out.png -- crop width=5", 2, "crop: height= is required", "", true},
        {"in.png -o out.png -- rot angle=45", 2, "rot: angle=45: not one of 90|180|270"},
        {"in.png -o out.png -- flip mirror=yes", 2, "flip: unknown key \"mirror\"", "", true},
        {"in.png -o out.png --size 99999x10 -- invert", 1, "outside this renderer's limits"},
        {"in.png -o out.png --bogus -- invert", 2, "unknown option --bogus"},
        {"in.png -o out.png --fit squash -- invert", 2, "--fit \"squash\" is neither fill nor stretch"},
        {"in.png -o out.bmp -- invert", 2, "must end in .png, .jpg, .jpeg, .tif, .tiff or .webp"},
        {"missing.png -o out.png -- invert", 1, "Cannot open missing.png: No such file or directory"},
        {"notapicture.png -o out.png -- invert", 1, "is not a PNG, JPEG, TIFF or WebP file"},
        {"in.png -o out.png -- kernel file=broken.glsl", 1, "broken.glsl does not compile", "", true},
        {"in.png -o out.png -- kernel file=absent.glsl", 1, "cannot read kernel absent.glsl"},
        {"in.png -o nofolder/out.png -- invert", 1, "Cannot write nofolder/out.png: No such file or directory"},
        {"view in.png -- invert", 1, "view needs an X server"},
        {tooLong, 2, "a chain of 1001 filters is longer than the 1000"},
        {"in.png -o out.png -- kernel file=/dev/zero", 1, "kernel /dev/zero is larger than 1 MiB"},
        {"in.png -o out.png -- kernel file=/dev/stdin", 1, "kernel /dev/stdin is larger than 1 MiB",
         "yes 'lm_output = vec3(0.0);'"},
        {"huge.png -o out.png -- invert", 1, "Cannot read huge.png: it holds more than 2 GiB"},
        {"in.png -o out.png -- max2 with=huge.png", 1, "Cannot read huge.png: it holds more than 2 GiB"},
        {"in.png -o out.png -- lut file=damaged.cube", 1, "damaged.cube:4: \"1,0\" is not a number"},
        {"in.png -o out.png -- curves points=0,0,0.6,1,0.4,1", 1, "curves: points=: point 3 has x not above"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.arguments.substr(0, 80));
        const auto [status, err] = run(test.arguments, test.feeder);
        EXPECT_EQ(status, test.status);
        EXPECT_EQ(err.rfind("lumetra: ", 0), 0u) << err;
        EXPECT_NE(err.find(test.message), std::string::npos) << err;
        EXPECT_TRUE(test.severalLines || std::count(err.begin(), err.end(), '\n') == 1) << err;
        EXPECT_FALSE(fs::exists(path("out.png")));
    }
}

// An output replacing a file keeps its mode: the library's writer, the file-writing suite's.
TEST_F(CliTest, NeverWritesOverAnInput)
{
    // -O naming the inputs' own folder, however it is spelled, or a folder
    // whose file of that name is a picture the chain reads, is refused before
    // anything is written.
    const std::string original = contents("in.png");
    fs::create_directories(path("sub")), fs::create_directories(path("results"));
    fs::create_hard_link(path("other.png"), path("results/in.png"));
    for (const std::string& folder : {std::string("."), std::string("sub/.."), dir_.string()}) {
        SCOPED_TRACE(folder);
        const auto [refused, message] = run("in.png other.png -O " + folder + " -- invert");
        EXPECT_EQ(refused, 2);
        EXPECT_NE(message.find("which this run reads; choose another folder"), std::string::npos) << message;
        EXPECT_TRUE(contents("in.png") == original) << "in.png was overwritten";
    }
    EXPECT_EQ(run("in.png -O results -- max2 with=other.png").first, 2);
    expectPixels("other.png", other, 0);
}

TEST_F(CliTest, BatchWritesEachInputAndSkipsOnlyTheBadOne)
{
    std::ofstream(path("damaged.png")) << "\x89PNG\r\n\x1a\n garbage";
    const auto [status, err] = run("in.png damaged.png other.png -O results -- invert");
    EXPECT_EQ(status, 1);
    EXPECT_NE(err.find("damaged.png"), std::string::npos) << err;
    EXPECT_EQ(err.find('\r'), std::string::npos) << "not a terminal: no progress line";
    expectPixels("results/in.png", inverted);
    expectPixels("results/other.png", perChannel(other, [](double c) { return 1 - c; }));
    EXPECT_FALSE(fs::exists(path("results/damaged.png")));
}

TEST_F(CliTest, DemoDrawsItsWholeSheet)
{
    using namespace DemoSheet;
    ASSERT_EQ(run("demo -o sheet.png").first, 0);
    auto sheet = readPicture("sheet.png");
    ASSERT_TRUE(sheet && sheet->pixelsWide() == sheetWidth() && sheet->pixelsHigh() == sheetHeight());
    // The second tile inverts the first one's patch of known colour.
    const int x = tileLeft(1) + (patchLeft + patchRight) / 2, y = tileTop(1) + (patchTop + patchBottom) / 2;
    for (int sample = 0; sample < 3; ++sample)
        EXPECT_NEAR(sheet->rowAt(y)[x * 4 + sample], 255 - patchColor[sample], 1);
}

// The PNG header's bit depth and colour type (0 grey, 2 RGB, 4 grey and alpha, 6 RGBA).
std::pair<int, int> pngDepthAndColourType(const std::string& bytes)
{
    return bytes.size() > 25 ? std::pair{int(uint8_t(bytes[24])), int(uint8_t(bytes[25]))} : std::pair{0, 0};
}

// Samples that are no multiple of 257, so that any trip through 8 bits shows.
std::shared_ptr<LMBitmap16> deepSource()
{
    auto bitmap = LMBitmap16::bitmapWithSize(width, height);
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < width * 4; ++i)
            bitmap->rowAt(y)[i] = uint16_t(i % 4 == 3 ? 65535 : (i / 4 * 1031 + y * 877 + i % 4 * 20011) % 65536);
    return bitmap;
}

TEST_F(CliTest, SixteenBitsGoThroughTheChainAndOutExactly)
{
    auto input = deepSource();
    ASSERT_TRUE(LMPicture::pictureWithBitmap16(input)->writeToFile(path("deep.png"), LMPictureFileOptions{}));
    for (const std::string output : {"out.png", "out.tif"}) {
        SCOPED_TRACE(output);
        const auto [status, err] = run("deep.png -o " + output + " -- invert");
        ASSERT_EQ(status, 0) << err;
        auto read = LMPicture::pictureWithContentsOfFile(path(output));
        ASSERT_TRUE(read && read->bitmap16());
        int wrong = 0;
        for (int y = 0; y < height; ++y)
            for (int i = 0; i < width * 4; ++i)
                wrong += read->bitmap16()->rowAt(y)[i] != (i % 4 == 3 ? 65535 : 65535 - input->rowAt(y)[i]);
        EXPECT_EQ(wrong, 0);
    }
    EXPECT_EQ(pngDepthAndColourType(contents("out.png")), std::pair(16, 2));
    ASSERT_EQ(run("deep.png -o eight.png --depth 8 -- invert").first, 0);
    EXPECT_EQ(pngDepthAndColourType(contents("eight.png")), std::pair(8, 2));
}

// Grey stays grey and colour gains no alpha; TIFF and lossless WebP give the pixels back.
TEST_F(CliTest, OutputsKeepTheInputsChannelsInEveryFormat)
{
    auto grey = LMPicture::pictureWithBitmap(bitmapOf(perChannel(source, [](double) { return 0.5; })));
    grey->setGrey(true);
    ASSERT_TRUE(grey->writeToFile(path("grey.png"), LMPictureFileOptions{}));
    ASSERT_EQ(run("grey.png -o grey-out.png -- invert").first, 0);
    EXPECT_EQ(pngDepthAndColourType(contents("grey-out.png")), std::pair(8, 0));
    expectPixels("grey-out.png", perChannel(source, [](double) { return 127 / 255.0; }), 0);
    for (const std::string output : {"out.png", "out.tif", "out.webp"}) {
        const auto [status, err] = run("in.png -o " + output + " --lossless -- invert");
        ASSERT_EQ(status, 0) << err;
        expectPixels(output, inverted, 0);
    }
    EXPECT_EQ(pngDepthAndColourType(contents("out.png")), std::pair(8, 2));
}

// The picture's EXIF says to turn it a quarter clockwise: its left half
// (white) comes out on top. Its P3 profile and EXIF block go to every output
// that holds them, the orientation no longer turning it.
TEST_F(CliTest, OrientationIsAppliedAndProfileAndExifSurvive)
{
    const std::string turned = std::string(LUMETRA_TEST_SOURCE_DIR) + "/tools/turned_p3.jpg";
    auto input = LMPicture::pictureWithContentsOfFile(turned);
    ASSERT_TRUE(input && input->size() == (LMSize{8, 16}) && input->iccProfile().size() > 128 &&
                !input->exifData().empty());
    for (const std::string output : {"out.png", "out.jpg", "out.webp", "out.tif"}) {
        SCOPED_TRACE(output);
        const auto [status, err] = run(turned + " -o " + output);
        ASSERT_EQ(status, 0) << err;
        auto read = LMPicture::pictureWithContentsOfFile(path(output));
        ASSERT_TRUE(read && read->size() == (LMSize{8, 16}));
        EXPECT_GT(read->bitmap()->rowAt(3)[4 * 4], 200);
        EXPECT_LT(read->bitmap()->rowAt(12)[4 * 4], 55);
        EXPECT_EQ(read->iccProfile(), input->iccProfile());
        EXPECT_TRUE(output == "out.tif" || !read->exifData().empty());
    }
}

TEST_F(CliTest, StandardInputAndOutputCarryPicturesAndReportsGoToStandardError)
{
    const auto [status, err] = run("- -o - --format png --time -- invert", "cat in.png");
    ASSERT_EQ(status, 0) << err;
    expectPixels("stdout.bin", inverted, 0);
    EXPECT_NE(err.find("GPU time"), std::string::npos);
    EXPECT_EQ(run("in.png -o - -- invert").first, 2) << "standard output needs --format";
}

TEST_F(CliTest, TransparentInputsAreFlattenedOntoTheBackgroundWithOneLine)
{
    const Pixels seeThrough = pixelsOf(width, height, [](int x, int y) {
        return Pixel{uint8_t(x * 4), uint8_t(y * 5), 200, uint8_t(x * 255 / (width - 1))};
    });
    writePicture("clear.png", seeThrough);
    const auto [status, err] = run("clear.png -o flat.png --background '#204060'");
    ASSERT_EQ(status, 0) << err;
    EXPECT_EQ(err, "lumetra: clear.png has transparent pixels: flattened onto #204060 (--background)\n");
    const uint8_t background[3] = {0x20, 0x40, 0x60};
    expectPixels("flat.png", pixelsOf(width, height, [&](int x, int y) {
                     const Pixel p = seeThrough.at(x, y);
                     Pixel flat{0, 0, 0, 255};
                     for (int i = 0; i < 3; ++i)
                         flat[i] = uint8_t(std::lround((p[i] * p[3] + background[i] * (255 - p[3])) / 255.0));
                     return flat;
                 }));
    EXPECT_EQ(pngDepthAndColourType(contents("flat.png")), std::pair(8, 2));
}

} // namespace

// The installed `lumetra` tool, run as a user runs it, on pictures the tests
// make; outputs are read back and compared with the filters' arithmetic
// done here on the CPU.

#include "DemoSheet.h"

#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

struct RGB {
    double r, g, b;
};

constexpr int width = 64, height = 48;

RGB sourcePixel(int x, int y)
{
    return {(x * 4 % 256) / 255.0, (y * 5 % 256) / 255.0, 128 / 255.0};
}

RGB otherPixel(int x, int y)
{
    return {((x + y) % 2) * 200 / 255.0, 100 / 255.0, (x * 3 % 256) / 255.0};
}

double toSRGB(double c)
{
    return c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
}

class CliTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir_ = fs::path(::testing::TempDir()) /
               ("lumetra_cli_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        writePicture("in.png", sourcePixel);
        writePicture("other.png", otherPixel);
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string path(const std::string& name) const { return (dir_ / name).string(); }

    void writePicture(const std::string& name, const std::function<RGB(int, int)>& pixel) const
    {
        auto bitmap = newBIR(width, height);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const RGB c = pixel(x, y);
                uint8_t* p = bitmap->rowAt(y) + x * 4;
                p[0] = uint8_t(std::lround(c.r * 255)), p[1] = uint8_t(std::lround(c.g * 255));
                p[2] = uint8_t(std::lround(c.b * 255)), p[3] = 255;
            }
        ASSERT_TRUE(LMPicture::pictureWithBitmap(bitmap)->writePNGToFile(path(name)));
    }

    // Runs the tool in the test's folder; arguments are passed as written.
    ToolRun run(const std::string& arguments, const std::string& environment = "") const
    {
        const std::string command = "cd '" + dir_.string() + "' && " + environment + " '" LUMETRA_TOOL "' " +
                                    arguments + " > stdout.txt 2> stderr.txt";
        ToolRun result;
        const int raw = std::system(command.c_str());
        result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        result.out = readText("stdout.txt");
        result.err = readText("stderr.txt");
        return result;
    }

    std::string readText(const std::string& name) const
    {
        std::ifstream file(path(name));
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

    std::shared_ptr<LMBitmap> readPicture(const std::string& name) const
    {
        auto picture = LMPicture::pictureWithContentsOfFile(path(name));
        return picture ? picture->bitmap() : nullptr;
    }

    // Every pixel of the output against the expectation, within `tolerance` of 255.
    void expectPixels(const std::string& name, const std::function<RGB(int, int)>& expected, int tolerance) const
    {
        auto bitmap = readPicture(name);
        ASSERT_TRUE(bitmap) << name;
        ASSERT_EQ(bitmap->pixelsWide(), width);
        ASSERT_EQ(bitmap->pixelsHigh(), height);
        int mismatches = 0;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const RGB want = expected(x, y);
                const uint8_t* got = bitmap->rowAt(y) + x * 4;
                const double wanted[3] = {want.r, want.g, want.b};
                for (int c = 0; c < 3; ++c)
                    if (std::abs(got[c] - std::clamp(wanted[c], 0.0, 1.0) * 255) > tolerance && mismatches++ < 3)
                        ADD_FAILURE() << name << " at " << x << "," << y << " channel " << c << ": " << int(got[c])
                                      << " instead of " << wanted[c] * 255;
            }
    }

    fs::path dir_;
};

TEST_F(CliTest, ChainsGiveTheFiltersArithmetic)
{
    std::ofstream(path("tint.glsl")) << "void main() {\n"
                                        "    vec3 c = texture(lm_input, lm_location).rgb;\n"
                                        "    vec3 o = texture(lm_overlay, lm_location).rgb;\n"
                                        "    lm_output = mix(c, o, lm_amount);\n"
                                        "}\n";
    struct Case {
        std::string chain;
        std::function<RGB(int, int)> expected;
        int tolerance = 1;
    };
    const Case cases[] = {
        {"invert", [](int x, int y) { auto s = sourcePixel(x, y); return RGB{1 - s.r, 1 - s.g, 1 - s.b}; }},
        {"max-component",
         [](int x, int y) {
             auto s = sourcePixel(x, y);
             const double m = std::max({s.r, s.g, s.b});
             return RGB{m, m, m};
         }},
        {"invert -- fader control=0.5",
         [](int x, int y) { auto s = sourcePixel(x, y); return RGB{(1 - s.r) / 2, (1 - s.g) / 2, (1 - s.b) / 2}; }},
        {"to-srgb", [](int x, int y) { auto s = sourcePixel(x, y); return RGB{toSRGB(s.r), toSRGB(s.g), toSRGB(s.b)}; },
         2},
        {"max2 with=other.png",
         [](int x, int y) {
             auto s = sourcePixel(x, y), o = otherPixel(x, y);
             return RGB{std::max(s.r, o.r), std::max(s.g, o.g), std::max(s.b, o.b)};
         }},
        {"circle radius=10 center=20,15",
         [](int x, int y) {
             const double v = std::hypot(x + 0.5 - 20, y + 0.5 - 15) <= 10 ? 1 : 0;
             return RGB{v, v, v};
         }},
        // Eight pixels right and five down, tiling over the edges.
        {"transform translate=8,5",
         [](int x, int y) { return sourcePixel((x - 8 + width) % width, (y - 5 + height) % height); }},
        {"kernel file=tint.glsl inputs=input,overlay overlay=other.png controls=amount amount=0.25",
         [](int x, int y) {
             auto s = sourcePixel(x, y), o = otherPixel(x, y);
             return RGB{s.r * 0.75 + o.r * 0.25, s.g * 0.75 + o.g * 0.25, s.b * 0.75 + o.b * 0.25};
         }},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.chain);
        fs::remove(path("out.png"));
        const ToolRun result = run("in.png -o out.png -- " + test.chain);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.err, "");
        expectPixels("out.png", test.expected, test.tolerance);
    }
}

TEST_F(CliTest, BadInputEndsWithOneMessageAndNoOutput)
{
    std::ofstream(path("broken.glsl")) << "void main() {\n    lm_output = undefinedThing;\n}\n";
    {
        std::ifstream whole(path("in.png"), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(whole)), {});
        std::ofstream(path("truncated.png"), std::ios::binary) << bytes.substr(0, bytes.size() / 2);
        std::ofstream(path("notapicture.png")) << "hello";
    }
    struct Case {
        std::string arguments;
        int status;
        std::string message;
        std::string environment = "";
    };
    const Case cases[] = {
        {"in.png -o out.png -- blur", 2, "unknown filter \"blur\""},
        {"in.png -o out.png -- fader control=lots", 2, "control=lots: not a finite number"},
        {"in.png -o out.png -- fader control=nan", 2, "control=nan: not a finite number"},
        {"in.png -o out.png -- circle center=1,2", 2, "radius= is required"},
        {"in.png -o out.png -- circle radius=-3", 2, "a radius cannot be negative"},
        {"in.png -o out.png -- invert strength=2", 2, "unknown key \"strength\""},
        {"in.png -o out.png -- transform scale=0", 2, "a scale of 0"},
        {"in.png -o out.png -- max2", 2, "with= is required"},
        {"in.png -o out.png --size 0x10 -- invert", 2, "at least 1 pixel"},
        {"in.png -o out.png --size big -- invert", 2, "is not WIDTHxHEIGHT"},
        {"in.png -o out.png --size 99999x10 -- invert", 1, "outside this renderer's limits"},
        {"in.png -o out.png --bogus -- invert", 2, "unknown option --bogus"},
        {"in.png -o out.bmp -- invert", 2, "must end in .png, .jpg or .jpeg"},
        {"in.png -o out.png", 2, "no filters"},
        {"missing.png -o out.png -- invert", 1, "Cannot open missing.png"},
        {"truncated.png -o out.png -- invert", 1, "truncated.png"},
        {"notapicture.png -o out.png -- invert", 1, "neither a PNG nor a JPEG"},
        {"in.png -o out.png -- max2 with=missing.png", 1, "missing.png"},
        {"in.png -o out.png -- kernel file=broken.glsl", 1, "broken.glsl does not compile"},
        {"in.png -o out.png -- kernel file=absent.glsl", 1, "cannot read kernel absent.glsl"},
        {"in.png -o out.png -- kernel file=broken.glsl controls=1x", 2, "\"1x\" is not a GLSL name"},
        {"in.png -o nofolder/out.png -- invert", 1, "Cannot write nofolder/out.png"},
        {"view in.png -- invert", 1, "view needs an X server", "env -u DISPLAY"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.arguments);
        const ToolRun result = run(test.arguments, test.environment);
        EXPECT_EQ(result.status, test.status);
        EXPECT_EQ(result.err.rfind("lumetra: ", 0), 0u) << result.err;
        EXPECT_NE(result.err.find(test.message), std::string::npos) << result.err;
        EXPECT_FALSE(fs::exists(path("out.png")));
    }
    // Nothing half-written is left behind either.
    for (const auto& entry : fs::directory_iterator(dir_))
        EXPECT_EQ(entry.path().filename().string().find(".partial"), std::string::npos) << entry.path();
}

TEST_F(CliTest, BatchWritesEachInputAndSkipsOnlyTheBadOne)
{
    writePicture("second.png", otherPixel);
    std::ofstream(path("damaged.png")) << "\x89PNG\r\n\x1a\n garbage";
    const ToolRun result = run("in.png damaged.png second.png -O results -- invert");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.err.find("damaged.png"), std::string::npos) << result.err;
    // Not a terminal: no progress line.
    EXPECT_EQ(result.err.find('\r'), std::string::npos);
    auto inverted = [](std::function<RGB(int, int)> pixel) {
        return [pixel](int x, int y) { auto s = pixel(x, y); return RGB{1 - s.r, 1 - s.g, 1 - s.b}; };
    };
    expectPixels("results/in.png", inverted(sourcePixel), 1);
    expectPixels("results/second.png", inverted(otherPixel), 1);
    EXPECT_FALSE(fs::exists(path("results/damaged.png")));
}

TEST_F(CliTest, JPEGOutputSizeAndTiming)
{
    const ToolRun result = run("in.png -o out.jpg --time -- fader control=1");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_NE(result.out.find("GPU time of the chain"), std::string::npos) << result.out;
    std::ifstream jpeg(path("out.jpg"), std::ios::binary);
    EXPECT_EQ(jpeg.get(), 0xFF);
    EXPECT_EQ(jpeg.get(), 0xD8);
    // JPEG is lossy: a smooth picture comes back within a few levels.
    expectPixels("out.jpg", sourcePixel, 24);

    // A context of another size fits the picture to it.
    ASSERT_EQ(run("in.png -o big.png --size 128x96 --fit stretch -- invert").status, 0);
    auto big = readPicture("big.png");
    ASSERT_TRUE(big);
    EXPECT_EQ(big->pixelsWide(), 128);
    EXPECT_EQ(big->pixelsHigh(), 96);
}

TEST_F(CliTest, HelpNamesEveryFilterAndItsParameters)
{
    const ToolRun all = run("--help");
    EXPECT_EQ(all.status, 0);
    for (const char* name : {"invert", "max-component", "fader", "to-srgb", "from-srgb", "circle", "transform", "max2",
                             "kernel"})
        EXPECT_NE(all.out.find(std::string("  ") + name), std::string::npos) << name;
    const ToolRun circle = run("in.png -o out.png -- circle --help");
    EXPECT_EQ(circle.status, 0);
    EXPECT_NE(circle.out.find("radius=(required)"), std::string::npos) << circle.out;
    EXPECT_NE(circle.out.find("center=0,0"), std::string::npos) << circle.out;
    EXPECT_FALSE(fs::exists(path("out.png")));
}

TEST_F(CliTest, DemoSheetHasEveryTileInItsColours)
{
    using namespace DemoSheet;
    const ToolRun result = run("demo -o sheet.png");
    ASSERT_EQ(result.status, 0) << result.err;
    auto sheet = readPicture("sheet.png");
    ASSERT_TRUE(sheet);
    EXPECT_EQ(sheet->pixelsWide(), sheetWidth());
    EXPECT_EQ(sheet->pixelsHigh(), sheetHeight());

    auto at = [&](int tile, int x, int y) {
        const uint8_t* p = sheet->rowAt(tileTop(tile) + y) + (tileLeft(tile) + x) * 4;
        return std::array<int, 3>{p[0], p[1], p[2]};
    };
    const int patchX = (patchLeft + patchRight) / 2, patchY = (patchTop + patchBottom) / 2;
    const int r = patchColor[0], g = patchColor[1], b = patchColor[2];
    struct Expected {
        int tile, x, y;
        std::array<int, 3> rgb;
    };
    const Expected expected[] = {
        {0, patchX, patchY, {r, g, b}},
        {1, patchX, patchY, {255 - r, 255 - g, 255 - b}},
        {2, patchX, patchY, {r, r, r}},
        {3, patchX, patchY, {r / 2, g / 2, b / 2}},
        {6, tileWidth / 2, tileHeight / 2, {255, 255, 255}},
        {6, 2, 2, {0, 0, 0}},
    };
    for (const Expected& e : expected) {
        const auto got = at(e.tile, e.x, e.y);
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(got[c], e.rgb[c], 1) << "tile " << e.tile << " channel " << c;
    }
}

} // namespace

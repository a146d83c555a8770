// Curves, lookup tables and blend modes drawn over small pictures, every
// pixel compared with the formula computed here on the CPU: a monotone
// cubic, a table read linearly or trilinearly, each blend mode's function.
// The .cube reader's refusals each name the file and the line.

#include "support/LogCapture.h"
#include "support/PixelsInOut.h"

#include "lumetra/platform/LMCubeFile.h"
#include <lumetra/lumetra.h>

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <unistd.h>

namespace {

using Colour = std::array<double, 3>;

// Every level 0...255 in each channel somewhere, the channels unlike each other.
const Pixels picture = pixelsOf(32, 8, [](int x, int y) {
    const int i = y * 32 + x;
    return Pixel{uint8_t(i), uint8_t(255 - i), uint8_t(i * 7 % 256), 255};
});

Pixels mapped(const Pixels& in, const std::function<Colour(Colour)>& f)
{
    return pixelsOf(in.width, in.height, [&](int x, int y) {
        const Pixel p = in.at(x, y);
        const Colour out = f({p[0] / 255.0, p[1] / 255.0, p[2] / 255.0});
        Pixel bytes{0, 0, 0, 255};
        for (size_t c = 0; c < 3; ++c)
            bytes[c] = uint8_t(std::lround(std::clamp(out[c], 0.0, 1.0) * 255));
        return bytes;
    });
}

// The monotone cubic through x0,y0,x1,y1,... as its textbook steps state it.
double monotoneCubic(const std::vector<double>& p, double x)
{
    const size_t n = p.size() / 2;
    auto X = [&](size_t k) { return p[2 * k]; };
    auto Y = [&](size_t k) { return p[2 * k + 1]; };
    if (x <= X(0))
        return Y(0);
    if (x >= X(n - 1))
        return Y(n - 1);
    std::vector<double> d(n - 1), m(n);
    for (size_t k = 0; k + 1 < n; ++k)
        d[k] = (Y(k + 1) - Y(k)) / (X(k + 1) - X(k));
    m[0] = d[0], m[n - 1] = d[n - 2];
    for (size_t k = 1; k + 1 < n; ++k)
        m[k] = d[k - 1] * d[k] <= 0 ? 0 : (d[k - 1] + d[k]) / 2;
    for (size_t k = 0; k + 1 < n; ++k) {
        if (d[k] == 0) {
            m[k] = m[k + 1] = 0;
            continue;
        }
        const double a = m[k] / d[k], b = m[k + 1] / d[k], r = std::hypot(a, b);
        if (r > 3)
            m[k] = 3 * a / r * d[k], m[k + 1] = 3 * b / r * d[k];
    }
    size_t k = 0;
    while (x > X(k + 1))
        ++k;
    const double h = X(k + 1) - X(k), t = (x - X(k)) / h;
    const double h00 = (1 + 2 * t) * (1 - t) * (1 - t), h10 = t * (1 - t) * (1 - t), h01 = t * t * (3 - 2 * t),
                 h11 = t * t * (t - 1);
    return h00 * Y(k) + h10 * h * m[k] + h01 * Y(k + 1) + h11 * h * m[k + 1];
}

// A .cube table made here: its entries, red fastest, and its domain.
struct Cube {
    int dimensions = 3, size = 2;
    Colour low{0, 0, 0}, high{1, 1, 1};
    std::function<Colour(Colour)> entryAt; // of the grid point, 0...1 a side
    bool asInputRange = false; // the domain written as LUT_1D_INPUT_RANGE low high

    std::vector<Colour> entries() const
    {
        std::vector<Colour> all;
        const auto at = [&](int i) { return double(i) / (size - 1); };
        if (dimensions == 1)
            for (int i = 0; i < size; ++i)
                all.push_back(entryAt({at(i), at(i), at(i)}));
        else
            for (int b = 0; b < size; ++b)
                for (int g = 0; g < size; ++g)
                    for (int r = 0; r < size; ++r)
                        all.push_back(entryAt({at(r), at(g), at(b)}));
        return all;
    }
    std::string text() const
    {
        std::ostringstream out;
        out.precision(9);
        out << "# made by the test\nTITLE \"test\"\n"
            << (dimensions == 1 ? "LUT_1D_SIZE " : "LUT_3D_SIZE ") << size << "\n";
        if (asInputRange)
            out << "LUT_1D_INPUT_RANGE " << low[0] << " " << high[0] << "\n";
        else if (low != Colour{0, 0, 0} || high != Colour{1, 1, 1})
            out << "DOMAIN_MIN " << low[0] << " " << low[1] << " " << low[2] << "\nDOMAIN_MAX " << high[0] << " "
                << high[1] << " " << high[2] << "\n";
        for (const Colour& e : entries())
            out << e[0] << " " << e[1] << " " << e[2] << "\r\n";
        return out.str();
    }
    // The table read at c: 1D channel by channel, 3D trilinearly.
    Colour lookup(Colour c) const
    {
        const std::vector<Colour> all = entries();
        std::array<int, 3> i0{};
        Colour f{};
        for (size_t k = 0; k < 3; ++k) {
            const double u = std::clamp((c[k] - low[k]) / (high[k] - low[k]), 0.0, 1.0) * (size - 1);
            i0[k] = std::min(int(u), size - 2);
            f[k] = u - i0[k];
        }
        Colour out{};
        if (dimensions == 1) {
            for (size_t k = 0; k < 3; ++k)
                out[k] = all[i0[k]][k] * (1 - f[k]) + all[i0[k] + 1][k] * f[k];
            return out;
        }
        for (int corner = 0; corner < 8; ++corner) {
            const int dr = corner & 1, dg = corner >> 1 & 1, db = corner >> 2 & 1;
            const double w = (dr ? f[0] : 1 - f[0]) * (dg ? f[1] : 1 - f[1]) * (db ? f[2] : 1 - f[2]);
            const Colour& e = all[size_t(((i0[2] + db) * size + i0[1] + dg) * size + i0[0] + dr)];
            for (size_t k = 0; k < 3; ++k)
                out[k] += w * e[k];
        }
        return out;
    }
};

class TableFilters : public testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::create_directories(dir);
        context->setCachingEnabled(true);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream(dir / name, std::ios::binary) << text;
        return (dir / name).string();
    }

    const std::filesystem::path dir =
        std::filesystem::path(testing::TempDir()) / ("lumetra_table_filters_" + std::to_string(::getpid()));
    std::shared_ptr<LMContext> context = LMContext::contextWithDimensions({32, 8});
    std::shared_ptr<LMImage> input = imageOf(context, picture);
};

} // namespace

// The master curve, then each channel's; an S, an overshooting climb (the
// tangents must be limited to stay monotone), a falling line.
TEST_F(TableFilters, CurvesFollowTheMonotoneCubicMasterThenChannel)
{
    struct Case {
        std::vector<double> master, red, green, blue;
    };
    const std::vector<double> identity = {0, 0, 1, 1};
    const Case cases[] = {
        {identity, identity, identity, identity},
        {{0, 0, 0.25, 0.15, 0.75, 0.9, 1, 1}, identity, identity, identity},
        {{0, 0.1, 0.1, 0.6, 0.2, 0.65, 1, 0.95}, {0, 1, 1, 0}, identity, {0, 0, 0.5, 0.5, 0.6, 0.9, 1, 1}},
    };
    auto curves = LMFilterCurves::filterWithInput(input);
    for (const Case& test : cases) {
        curves->setPoints(test.master), curves->setRed(test.red), curves->setGreen(test.green);
        curves->setBlue(test.blue);
        const Pixels expected = mapped(picture, [&](Colour c) {
            const std::array<const std::vector<double>*, 3> channel = {&test.red, &test.green, &test.blue};
            for (size_t k = 0; k < 3; ++k)
                c[k] = monotoneCubic(*channel[k], monotoneCubic(test.master, c[k]));
            return c;
        });
        EXPECT_TRUE(samePixels(drawnPixels(curves, context), expected)) << test.master[2];
    }
}

// Points that make no curve: the problem named, logged once, the input drawn unchanged.
TEST_F(TableFilters, CurvesWithBadPointsDrawTheInputAndSayWhy)
{
    const std::pair<std::vector<double>, std::string> cases[] = {
        {{0, 0, 1}, "curves: red=: a curve is pairs x,y of at least two points, not 3 numbers"},
        {{0, 0, 0.5, 1, 0.5, 0}, "curves: red=: point 3 has x not above the point before"},
        {{0, 0, 1.5, 1}, "curves: red=: point 2 has x outside 0...1"},
    };
    for (const auto& [points, problem] : cases) {
        auto curves = LMFilterCurves::filterWithInput(input);
        curves->setRed(points);
        EXPECT_EQ(curves->configurationProblem(), problem);
        const LogCapture log;
        EXPECT_TRUE(samePixels(drawnPixels(curves, context), picture, 0)) << problem;
        curves->setGreen({0, 0.5, 1, 0.5});
        drawnPixels(curves, context);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_NE(log.lines()[0].find(problem), std::string::npos) << log.lines()[0];
    }
}

// Identity, a bent 3D table, a 1D table, a narrower domain, and half strength.
TEST_F(TableFilters, LutReadsItsTableAsTheFileSays)
{
    const auto bent = [](Colour c) {
        return Colour{c[0] * c[0], 0.1 + 0.8 * std::sqrt(c[1]) * (1 - 0.3 * c[2]), 1 - c[2] * c[1] + 0.2 * c[0]};
    };
    struct Case {
        std::string what;
        Cube cube;
        double strength = 1;
    };
    const Case cases[] = {
        {"identity 17", {3, 17, {0, 0, 0}, {1, 1, 1}, [](Colour c) { return c; }, false}},
        {"bent 5", {3, 5, {0, 0, 0}, {1, 1, 1}, bent, false}},
        {"bent 5, half strength", {3, 5, {0, 0, 0}, {1, 1, 1}, bent, false}, 0.5},
        {"1D 9",
         {1,
          9,
          {0, 0, 0},
          {1, 1, 1},
          [](Colour c) {
              return Colour{std::sqrt(c[0]), c[1] * c[1], 1 - c[2]};
          },
          false}},
        {"domain", {3, 3, {0.2, 0.1, 0}, {0.8, 0.9, 0.5}, bent, false}},
        {"1D input range", {1, 5, {0.25, 0.25, 0.25}, {0.75, 0.75, 0.75}, bent, true}},
    };
    auto lut = LMFilterLut::filterWithInput(input);
    for (const Case& test : cases) {
        lut->setFile(write(test.what + ".cube", test.cube.text()));
        lut->setStrength(test.strength);
        EXPECT_EQ(lut->configurationProblem(), "") << test.what;
        const Pixels expected = mapped(picture, [&](Colour c) {
            const Colour graded = test.cube.lookup(c);
            Colour out{};
            for (size_t k = 0; k < 3; ++k)
                out[k] = c[k] + test.strength * (std::clamp(graded[k], 0.0, 1.0) - c[k]);
            return out;
        });
        EXPECT_TRUE(samePixels(drawnPixels(lut, context), expected)) << test.what;
    }
}

TEST_F(TableFilters, LutWithAFileThatDoesNotReadDrawsTheInputAndSayWhy)
{
    auto lut = LMFilterLut::filterWithInput(input);
    lut->setFile(write("bad.cube", "LUT_3D_SIZE 2\n0 0 0\n"));
    const std::string problem = (dir / "bad.cube").string() + ":2: 1 entries where a size 2 table needs 8";
    EXPECT_EQ(lut->configurationProblem(), problem);
    const LogCapture log;
    EXPECT_TRUE(samePixels(drawnPixels(lut, context), picture, 0));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_NE(log.lines()[0].find(problem), std::string::npos) << log.lines()[0];
}

// Each damaged file refused with its line; a good one read as written.
TEST(CubeFile, RefusesDamagedFilesNamingFileAndLine)
{
    const std::pair<std::string, std::string> cases[] = {
        {"LUT_3D_SIZE 2\n0 0 0\n1 0 0\n", "f.cube:3: 2 entries where a size 2 table needs 8"},
        {"LUT_1D_SIZE 2\n0 0 0\n1 1 1\n\n1 1 1\n", "f.cube:5: more than the 2 entries of a size 2 table"},
        {"# x\nLUT_1D_SIZE 2\n0 0 0\n1 one 1\n", "f.cube:4: \"one\" is not a number"},
        {"LUT_1D_SIZE 2\n0 0 nan\n", "f.cube:2: \"nan\" is not a number"},
        {"LUT_1D_SIZE 2\n0 0\n", "f.cube:2: an entry is three numbers, not 2"},
        {"LUT_3D_SIZE 66\n", "f.cube:1: LUT_3D_SIZE 66 is out of range: 2 to 65"},
        {"LUT_1D_SIZE 1\n", "f.cube:1: LUT_1D_SIZE 1 is out of range: 2 to 65536"},
        {"LUT_3D_SIZE 2.5\n", "f.cube:1: LUT_3D_SIZE 2.5 is out of range: 2 to 65"},
        {"LUT_3D_SIZE 2\nLUT_1D_SIZE 2\n", "f.cube:2: a second size: a table is 1D or 3D, once"},
        {"TITLE \"a\"\nLUT_3D_ORDER 2\n", "f.cube:2: unknown line \"LUT_3D_ORDER 2\""},
        {"0 0 0\n", "f.cube:1: an entry before LUT_1D_SIZE or LUT_3D_SIZE"},
        {"LUT_1D_SIZE 2\n0 0 0\nTITLE \"late\"\n", "f.cube:3: \"TITLE\" after the first entry"},
        {"LUT_1D_SIZE 2\nDOMAIN_MIN 0 1 0\n0 0 0\n1 1 1\n", "f.cube:4: the domain is empty"},
        {"TITLE \"only\"\n", "f.cube:1: no LUT_1D_SIZE or LUT_3D_SIZE"},
    };
    for (const auto& [text, problem] : cases) {
        const LMCubeFile::Reading reading = LMCubeFile::parse(text, "f.cube");
        EXPECT_FALSE(reading.table) << text;
        EXPECT_EQ(reading.problem.substr(0, problem.size()), problem) << text;
    }
    EXPECT_EQ(LMCubeFile::read("/nonexistent/f.cube").problem,
              "cannot read /nonexistent/f.cube: No such file or directory");

    const LMCubeFile::Reading good = LMCubeFile::parse(
        "TITLE \"look\"\r\n\tLUT_3D_SIZE 2\nDOMAIN_MIN -1 0 0\n\n# red fastest\n0 0 0\n1e0 0 0\n0 .5 0\n1 1 0\n"
        "0 0 1\n1 0 1\n0 1 1\n+1 1 1\n",
        "f.cube");
    ASSERT_TRUE(good.table) << good.problem;
    EXPECT_EQ(good.table->title, "look");
    EXPECT_EQ(good.table->size, 2);
    EXPECT_EQ(good.table->domainMin, (std::array<float, 3>{-1, 0, 0}));
    EXPECT_EQ(good.table->entries[3], 1.0f);
    EXPECT_EQ(good.table->entries[7], 0.5f);
}

// Every mode over backdrops and sources that reach 0 and 1 (the edges of
// dodge and burn), at full opacity and at 0.4.
TEST_F(TableFilters, BlendFollowsEachModesFormula)
{
    const Pixels source = pixelsOf(32, 8, [](int x, int y) {
        const int i = y * 32 + x;
        return Pixel{uint8_t(i * 3 % 256), uint8_t(i % 2 ? 255 : i), uint8_t(i % 3 ? 0 : 255 - i), 255};
    });
    const auto screen = [](double b, double s) { return b + s - b * s; };
    const auto hardLight = [&](double b, double s) { return s <= 0.5 ? b * 2 * s : screen(b, 2 * s - 1); };
    const std::pair<const char*, std::function<double(double, double)>> modes[] = {
        {"normal", [](double, double s) { return s; }},
        {"multiply", [](double b, double s) { return b * s; }},
        {"screen", screen},
        {"overlay", [&](double b, double s) { return hardLight(s, b); }},
        {"darken", [](double b, double s) { return std::min(b, s); }},
        {"lighten", [](double b, double s) { return std::max(b, s); }},
        {"color-dodge", [](double b, double s) { return b == 0   ? 0
                                                        : s == 1 ? 1
                                                                 : std::min(1.0, b / (1 - s)); }},
        {"color-burn", [](double b, double s) { return b == 1   ? 1
                                                       : s == 0 ? 0
                                                                : 1 - std::min(1.0, (1 - b) / s); }},
        {"hard-light", hardLight},
        {"soft-light",
         [](double b, double s) {
             const double d = b <= 0.25 ? ((16 * b - 12) * b + 4) * b : std::sqrt(b);
             return s <= 0.5 ? b - (1 - 2 * s) * b * (1 - b) : b + (2 * s - 1) * (d - b);
         }},
        {"difference", [](double b, double s) { return std::abs(b - s); }},
        {"exclusion", [](double b, double s) { return b + s - 2 * b * s; }},
        {"add", [](double b, double s) { return std::min(1.0, b + s); }},
        {"subtract", [](double b, double s) { return std::max(0.0, b - s); }},
    };
    auto blend = LMFilterBlend::filterWithInput(input);
    blend->setSource(imageOf(context, source));
    for (double opacity : {1.0, 0.4})
        for (const auto& [mode, f] : modes) {
            blend->setMode(mode);
            blend->setOpacity(opacity);
            const Pixels expected =
                perChannel(picture, source, [&](double b, double s) { return b + opacity * (f(b, s) - b); });
            EXPECT_TRUE(samePixels(drawnPixels(blend, context), expected)) << mode << " at " << opacity;
        }
}

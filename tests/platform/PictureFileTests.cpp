#include "support/LogCapture.h"
#include "support/PictureBytes.h"
#include "support/TexturePixels.h"

#include <gtest/gtest.h>

#include <cstdio>

// After <cstdio>: jpeglib.h needs FILE and size_t.
#include <jpeglib.h>
#include <png.h>

namespace {

// Three by two, every pixel different, some translucent.
constexpr Pixel expected[2][3] = {
    {{{10, 20, 30, 255}}, {{40, 50, 60, 128}}, {{70, 80, 90, 0}}},
    {{{100, 110, 120, 255}}, {{130, 140, 150, 64}}, {{160, 170, 180, 255}}},
};

std::string scratchPath(const std::string& name)
{
    return testing::TempDir() + "lumetra_picture_" + name;
}

// A PNG written by libpng itself from raw rows, top row first.
void writePNG(const std::string& path, int width, int colorType, int depth, std::vector<Bytes> rows,
              int interlace = PNG_INTERLACE_NONE, std::vector<png_color> palette = {}, Bytes transparency = {})
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, png_uint_32(width), png_uint_32(rows.size()), depth, colorType, interlace,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!palette.empty())
        png_set_PLTE(png, info, palette.data(), int(palette.size()));
    if (!transparency.empty())
        png_set_tRNS(png, info, transparency.data(), int(transparency.size()), nullptr);
    png_write_info(png, info);
    std::vector<png_bytep> pointers;
    for (Bytes& row : rows)
        pointers.push_back(row.data());
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
}

// A 16 by 16 JPEG at full quality: `top` (one pixel's samples) over `bottom`.
void writeJPEG(const std::string& path, Bytes top, Bytes bottom)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = info.image_height = 16;
    info.input_components = int(top.size());
    info.in_color_space = top.size() == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 100, TRUE);
    jpeg_start_compress(&info, TRUE);
    for (Bytes row; info.next_scanline < 16; row.clear()) {
        for (int x = 0; x < 16; ++x)
            row.insert(row.end(), info.next_scanline < 8 ? top.begin() : bottom.begin(),
                       info.next_scanline < 8 ? top.end() : bottom.end());
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&info, &pointer, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::fclose(file);
}

void expectNear(const Pixel& actual, const Pixel& wanted, int tolerance)
{
    for (int sample = 0; sample < 4; ++sample)
        EXPECT_NEAR(actual[sample], wanted[sample], tolerance) << "sample " << sample;
}

} // namespace

TEST(PictureFiles, PNGsOfEveryColourTypeLoadAsStraightRGBA)
{
    // Channels as stored, "y" for grey; a 16-bit sample repeats its byte, so
    // it rounds back to that byte exactly.
    struct Format {
        std::string channels;
        int colorType, depth, interlace;
    };
    for (const Format& format : {Format{"rgb", PNG_COLOR_TYPE_RGB, 8, PNG_INTERLACE_NONE},
                                 Format{"rgba", PNG_COLOR_TYPE_RGBA, 8, PNG_INTERLACE_ADAM7},
                                 Format{"rgb", PNG_COLOR_TYPE_RGB, 16, PNG_INTERLACE_NONE},
                                 Format{"rgba", PNG_COLOR_TYPE_RGBA, 16, PNG_INTERLACE_NONE},
                                 Format{"y", PNG_COLOR_TYPE_GRAY, 8, PNG_INTERLACE_NONE},
                                 Format{"ya", PNG_COLOR_TYPE_GRAY_ALPHA, 8, PNG_INTERLACE_NONE}}) {
        std::vector<Bytes> rows(2);
        for (int y = 0; y < 2; ++y)
            for (const Pixel& p : expected[y])
                for (char channel : format.channels)
                    rows[y].insert(rows[y].end(), size_t(format.depth / 8),
                                   channel == 'g' ? p[1] : channel == 'b' ? p[2] : channel == 'a' ? p[3] : p[0]);
        const std::string path = scratchPath(format.channels + std::to_string(format.depth) + ".png");
        writePNG(path, 3, format.colorType, format.depth, rows, format.interlace);

        auto picture = LMPicture::pictureWithContentsOfFile(path);
        ASSERT_TRUE(picture) << path;
        EXPECT_EQ(picture->size(), (LMSize{3, 2}));
        const bool grey = format.channels[0] == 'y', alpha = format.channels.back() == 'a';
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) {
                const Pixel& p = expected[y][x];
                const Pixel wanted{p[0], grey ? p[0] : p[1], grey ? p[0] : p[2], alpha ? p[3] : uint8_t(255)};
                EXPECT_EQ(bitmapPixel(*picture->bitmap(), x, y), wanted) << path << " at " << x << ", " << y;
            }
    }

    // A palette with a transparency entry per colour, and 1-bit grey.
    std::vector<png_color> palette;
    Bytes alphas;
    for (const auto& row : expected)
        for (const Pixel& p : row) {
            palette.push_back({p[0], p[1], p[2]});
            alphas.push_back(p[3]);
        }
    writePNG(scratchPath("palette.png"), 3, PNG_COLOR_TYPE_PALETTE, 8, {{0, 1, 2}, {3, 4, 5}}, PNG_INTERLACE_NONE,
             palette, alphas);
    auto indexed = LMPicture::pictureWithContentsOfFile(scratchPath("palette.png"));
    ASSERT_TRUE(indexed);
    EXPECT_EQ(bitmapPixel(*indexed->bitmap(), 1, 0), expected[0][1]);
    EXPECT_EQ(bitmapPixel(*indexed->bitmap(), 2, 1), expected[1][2]);
    writePNG(scratchPath("bits.png"), 3, PNG_COLOR_TYPE_GRAY, 1, {{0b10100000}, {0b01100000}});
    auto bits = LMPicture::pictureWithContentsOfFile(scratchPath("bits.png"));
    ASSERT_TRUE(bits);
    EXPECT_EQ(bitmapPixel(*bits->bitmap(), 0, 0), white);
    EXPECT_EQ(bitmapPixel(*bits->bitmap(), 0, 1), black);

    // Written and read again, a picture keeps every byte, alpha included.
    ASSERT_TRUE(indexed->writePNGToFile(scratchPath("written.png")));
    auto reread = LMPicture::pictureWithContentsOfFile(scratchPath("written.png"));
    ASSERT_TRUE(reread);
    for (int y = 0; y < 2; ++y)
        EXPECT_EQ(std::memcmp(reread->bitmap()->rowAt(y), indexed->bitmap()->rowAt(y), 12), 0);
}

TEST(PictureFiles, JPEGsLoadUprightInColourAndGrey)
{
    writeJPEG(scratchPath("colour.jpg"), {230, 20, 10}, {10, 30, 220});
    auto colour = LMPicture::pictureWithContentsOfFile(scratchPath("colour.jpg"));
    ASSERT_TRUE(colour);
    EXPECT_EQ(colour->size(), (LMSize{16, 16}));
    expectNear(bitmapPixel(*colour->bitmap(), 8, 2), {230, 20, 10, 255}, 8);
    expectNear(bitmapPixel(*colour->bitmap(), 8, 13), {10, 30, 220, 255}, 8);

    writeJPEG(scratchPath("grey.jpg"), {200}, {50});
    auto grey = LMPicture::pictureWithContentsOfFile(scratchPath("grey.jpg"));
    ASSERT_TRUE(grey);
    expectNear(bitmapPixel(*grey->bitmap(), 8, 2), {200, 200, 200, 255}, 2);
    expectNear(bitmapPixel(*grey->bitmap(), 8, 13), {50, 50, 50, 255}, 2);
}

TEST(PictureFiles, DamagedFilesFailWithOneLineAndNoPicture)
{
    writePNG(scratchPath("whole.png"), 3, PNG_COLOR_TYPE_RGB, 8,
             {{1, 2, 3, 4, 5, 6, 7, 8, 9}, {9, 8, 7, 6, 5, 4, 3, 2, 1}});
    writeJPEG(scratchPath("whole.jpg"), {230, 20, 10}, {10, 30, 220});
    LogCapture log;
    for (const auto& [name, bytes, logged] :
         damagedPictures(readBytes(scratchPath("whole.png")), readBytes(scratchPath("whole.jpg")))) {
        writeBytes(scratchPath(name), bytes);
        log.clear();
        EXPECT_EQ(LMPicture::pictureWithContentsOfFile(scratchPath(name)), nullptr) << name;
        ASSERT_EQ(log.lines().size(), 1u) << name;
        EXPECT_EQ(log.lines()[0].rfind("LMPicture: ", 0), 0u) << log.lines()[0];
        EXPECT_NE(log.lines()[0].find(logged), std::string::npos) << name << ": " << log.lines()[0];
    }

    log.clear();
    EXPECT_EQ(LMPicture::pictureWithContentsOfFile(scratchPath("missing.png")), nullptr);
    EXPECT_FALSE(LMPicture::pictureWithContentsOfFile(scratchPath("whole.png"))->writePNGToFile("/nowhere/out.png"));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "LMPicture: Cannot open " + scratchPath("missing.png") + ": No such file or directory",
                               "LMPicture: Cannot write /nowhere/out.png: No such file or directory"}));
}

#include "interop/TexturePixels.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

// After <cstdio>: jpeglib.h needs FILE and size_t.
#include <jpeglib.h>
#include <png.h>

namespace {

using Bytes = std::vector<uint8_t>;

// Three by two, every pixel different, some translucent.
constexpr Pixel expected[2][3] = {
    {{{10, 20, 30, 255}}, {{40, 50, 60, 128}}, {{70, 80, 90, 0}}},
    {{{100, 110, 120, 255}}, {{130, 140, 150, 64}}, {{160, 170, 180, 255}}},
};

std::string scratchPath(const std::string& name)
{
    return testing::TempDir() + "lumetra_picture_" + name;
}

Bytes readBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

void writeBytes(const std::string& path, const Bytes& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
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

TEST(Bitmaps, PadTheirRowsAndFlipBackExactly)
{
    auto bitmap = newBIR(5, 3);
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->bytesPerRow(), 32);
    for (int y = 0; y < 3; ++y)
        std::memset(bitmap->rowAt(y), 'a' + y, 20);
    auto once = flippedBIR(bitmap, 5, 3), twice = flippedBIR(once, 5, 3);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(std::memcmp(once->rowAt(y), bitmap->rowAt(2 - y), 20), 0) << "row " << y;
        EXPECT_EQ(std::memcmp(twice->rowAt(y), bitmap->rowAt(y), 20), 0) << "row " << y;
    }
}

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

// The PNG's or JPEG's header claiming `side` by `side` pixels (the PNG's
// checksum mended), with no more data behind it than before.
static Bytes claiming(Bytes file, uint32_t side)
{
    const auto put = [&](size_t at, uint32_t value, int length) {
        for (int i = 0; i < length; ++i)
            file[at + size_t(i)] = uint8_t(value >> (8 * (length - 1 - i)));
    };
    if (file[0] == 0x89) {
        put(16, side, 4);
        put(20, side, 4);
        uint32_t crc = 0xFFFFFFFF;
        for (size_t i = 12; i < 29; ++i) {
            crc ^= file[i];
            for (int bit = 0; bit < 8; ++bit)
                crc = crc >> 1 ^ (0xEDB88320 & (0 - (crc & 1)));
        }
        put(29, ~crc, 4);
    }
    for (size_t i = 2; file[0] == 0xFF && i + 9 < file.size(); ++i)
        if (file[i] == 0xFF && file[i + 1] == 0xC0) {
            put(i + 5, side, 2);
            put(i + 7, side, 2);
            break;
        }
    return file;
}

TEST(PictureFiles, DamagedFilesFailWithOneLineAndNoPicture)
{
    writePNG(scratchPath("whole.png"), 3, PNG_COLOR_TYPE_RGB, 8,
             {{1, 2, 3, 4, 5, 6, 7, 8, 9}, {9, 8, 7, 6, 5, 4, 3, 2, 1}});
    writeJPEG(scratchPath("whole.jpg"), {230, 20, 10}, {10, 30, 220});
    const Bytes png = readBytes(scratchPath("whole.png")), jpeg = readBytes(scratchPath("whole.jpg"));
    Bytes badData = png;
    const auto idat = std::search(badData.begin(), badData.end(), std::begin("IDAT"), std::end("IDAT") - 1);
    ASSERT_NE(idat, badData.end());
    idat[6] ^= 0xFF;
    Bytes badJPEG = jpeg;
    std::fill(badJPEG.begin() + 3, badJPEG.begin() + 40, 0);

    LogCapture log;
    for (const auto& [name, bytes] : std::vector<std::pair<std::string, Bytes>>{
             {"empty.png", {}},
             {"text.png", {'h', 'e', 'l', 'l', 'o'}},
             {"truncated.png", Bytes(png.begin(), png.begin() + std::ptrdiff_t(png.size() / 2))},
             {"bad-data.png", badData},
             {"truncated.jpg", Bytes(jpeg.begin(), jpeg.end() - 30)},
             {"garbled.jpg", badJPEG},
             {"claims.png", claiming(png, 16000)},
             {"claims.jpg", claiming(jpeg, 16000)}}) {
        writeBytes(scratchPath(name), bytes);
        log.clear();
        EXPECT_EQ(LMPicture::pictureWithContentsOfFile(scratchPath(name)), nullptr) << name;
        ASSERT_EQ(log.lines().size(), 1u) << name;
        EXPECT_EQ(log.lines()[0].rfind("LMPicture: ", 0), 0u) << log.lines()[0];
        // A gigabyte of pixels is refused on the header, before it is allocated.
        if (name.starts_with("claims"))
            EXPECT_NE(log.lines()[0].find("cannot hold 16000 by 16000 pixels"), std::string::npos) << log.lines()[0];
    }

    log.clear();
    EXPECT_EQ(LMPicture::pictureWithContentsOfFile(scratchPath("missing.png")), nullptr);
    EXPECT_FALSE(LMPicture::pictureWithContentsOfFile(scratchPath("whole.png"))->writePNGToFile("/nowhere/out.png"));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               "LMPicture: Cannot open " + scratchPath("missing.png") + ": No such file or directory",
                               "LMPicture: Cannot write /nowhere/out.png: No such file or directory"}));
}

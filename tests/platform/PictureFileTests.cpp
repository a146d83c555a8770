#include "support/LogCapture.h"
#include "support/PictureBytes.h"
#include "support/TexturePixels.h"

#include <gtest/gtest.h>

#include <lumetra/platform/LMPictureFiles.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <png.h>
#include <thread>
#include <unistd.h>

namespace {

// Three by two, every pixel different, some translucent.
constexpr Pixel expected[2][3] = {
    {{{10, 20, 30, 255}}, {{40, 50, 60, 128}}, {{70, 80, 90, 0}}},
    {{{100, 110, 120, 255}}, {{130, 140, 150, 64}}, {{160, 170, 180, 255}}},
};

std::string scratchPath(const std::string& name)
{
    // The process number keeps suites of two builds run side by side apart.
    return testing::TempDir() + "lumetra_picture_" + std::to_string(::getpid()) + "_" + name;
}

struct PNGFormat {
    std::string channels; // as stored: "y" is grey, "p" an index into a palette with alpha
    int colorType, depth, interlace = PNG_INTERLACE_NONE;
};

// `expected` written by libpng itself in that format. A 16-bit sample is
// 100 / 257 short of its byte: it rounds to the byte, and its high byte
// alone is one less for bytes under 100.
std::string writePNG(const PNGFormat& format)
{
    const std::string path = scratchPath(format.channels + std::to_string(format.depth) + ".png");
    std::vector<png_color> palette;
    Bytes alphas, rows[2];
    for (int y = 0; y < 2; ++y)
        for (const Pixel& p : expected[y]) {
            palette.push_back({p[0], p[1], p[2]});
            alphas.push_back(p[3]);
            for (char channel : format.channels) {
                const unsigned sample =
                    channel == 'p' ? palette.size() - 1 : p[std::string("rgba").find(channel == 'y' ? 'r' : channel)];
                if (format.depth == 16)
                    rows[y].push_back(uint8_t(sample ? (sample * 257 - 100) >> 8 : 0));
                rows[y].push_back(uint8_t(format.depth == 16 && sample ? sample * 257 - 100 : sample));
            }
        }
    std::FILE* file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, 3, 2, format.depth, format.colorType, format.interlace, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (format.colorType == PNG_COLOR_TYPE_PALETTE) {
        png_set_PLTE(png, info, palette.data(), 6);
        png_set_tRNS(png, info, alphas.data(), 6, nullptr);
    }
    png_bytep pointers[] = {rows[0].data(), rows[1].data()};
    png_set_rows(png, info, pointers);
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
    return path;
}

} // namespace

TEST(PictureFiles, PNGsOfEveryColourTypeLoadAsStraightRGBAAndWriteBackWhole)
{
    for (const PNGFormat& format :
         {PNGFormat{"rgb", PNG_COLOR_TYPE_RGB, 8}, PNGFormat{"rgba", PNG_COLOR_TYPE_RGBA, 8, PNG_INTERLACE_ADAM7},
          PNGFormat{"rgba", PNG_COLOR_TYPE_RGBA, 16}, PNGFormat{"y", PNG_COLOR_TYPE_GRAY, 8},
          PNGFormat{"ya", PNG_COLOR_TYPE_GRAY_ALPHA, 8}, PNGFormat{"p", PNG_COLOR_TYPE_PALETTE, 8}}) {
        const std::string path = writePNG(format);
        auto picture = LMPicture::pictureWithContentsOfFile(path);
        ASSERT_TRUE(picture && picture->writePNGToFile(scratchPath("written.png"))) << path;
        const bool grey = format.channels[0] == 'y', alpha = format.channels.back() == 'a' || format.channels == "p";
        // 16-bit files keep their samples whole beside the rounded bytes.
        ASSERT_EQ(bool(picture->bitmap16()), format.depth == 16) << path;
        for (int y = 0; picture->bitmap16() && y < 2; ++y)
            for (int i = 0; i < 12; ++i) {
                const unsigned sample = expected[y][i / 4][i % 4];
                EXPECT_EQ(picture->bitmap16()->rowAt(y)[i], sample ? sample * 257 - 100 : 0) << path;
            }
        // What the library writes, read again, keeps every byte, alpha included.
        for (const auto& read : {picture, LMPicture::pictureWithContentsOfFile(scratchPath("written.png"))}) {
            ASSERT_TRUE(read && read->size() == (LMSize{3, 2}));
            for (int y = 0; y < 2; ++y)
                for (int x = 0; x < 3; ++x) {
                    const Pixel& p = expected[y][x];
                    const Pixel wanted{p[0], grey ? p[0] : p[1], grey ? p[0] : p[2], alpha ? p[3] : uint8_t(255)};
                    EXPECT_EQ(bitmapPixel(*read->bitmap(), x, y), wanted) << path << " at " << x << ", " << y;
                }
        }
    }
}

TEST(PictureFiles, DamagedFilesFailWithOneLineAndNoPicture)
{
    // JPEG reading itself is the command-line tool's test, on what it writes.
    ASSERT_TRUE(LMPicture::pictureWithBitmap(newBIR(16, 8))->writeJPEGToFile(scratchPath("whole.jpg")));
    LogCapture log;
    for (const auto& [name, bytes, logged] :
         damagedPictures(readBytes(writePNG({"rgb", PNG_COLOR_TYPE_RGB, 8})), readBytes(scratchPath("whole.jpg")))) {
        writeBytes(scratchPath(name), bytes);
        log.clear();
        EXPECT_EQ(LMPicture::pictureWithContentsOfFile(scratchPath(name)), nullptr) << name;
        ASSERT_EQ(log.lines().size(), 1u) << name;
        const std::string line = log.lines()[0];
        EXPECT_TRUE(line.rfind("LMPicture: ", 0) == 0 && line.find(logged) != std::string::npos)
            << name << ": " << line;
    }
    // A missing file and a write into a missing folder: the tool's test, which
    // shows the library's line with its reason.
}

// A stream that never ends (a FIFO, a pipe into /dev/stdin) is read up to the
// limit and no further, and refused; a whole picture through a pipe is read.
TEST(PictureFiles, AStreamIsReadNoFurtherThanTheLimit)
{
    std::signal(SIGPIPE, SIG_IGN);
    const Bytes picture = readBytes(writePNG({"rgb", PNG_COLOR_TYPE_RGB, 8}));
    constexpr size_t limit = size_t(1) << 20;
    for (const bool endless : {true, false}) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        std::atomic<size_t> sent{0};
        // The endless stream is a PNG signature and then zeros until the reader closes its end.
        std::thread writer([&] {
            const Bytes zeros(64 * 1024, 0);
            for (ssize_t put = write(ends[1], picture.data(), endless ? 8 : picture.size()); endless && put > 0;)
                sent += size_t(put), put = write(ends[1], zeros.data(), zeros.size());
            close(ends[1]);
        });
        std::FILE* stream = fdopen(ends[0], "rb");
        LogCapture log;
        LMPictureFileContents read;
        const bool whole = LMReadPictureFile(stream, "the stream", limit, read);
        std::fclose(stream);
        writer.join();
        if (endless) {
            EXPECT_FALSE(whole || read.bitmap);
            EXPECT_EQ(log.lines(),
                      std::vector<std::string>{
                          "LMPicture: Cannot read the stream: it holds more than 1 MiB, more than any picture file"});
            // What the pipe held when the reader stopped, and no more.
            EXPECT_LE(sent.load(), limit + 256 * 1024);
        } else {
            EXPECT_TRUE(whole && bitmapPixel(*read.bitmap, 2, 1) == (Pixel{160, 170, 180, 255}) && log.lines().empty());
        }
    }
}

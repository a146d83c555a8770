// Writes the seed corpora of the picture reader fuzzers: small valid PNGs of
// every colour type, depth and interlacing the reader converts, JPEGs in
// grey and colour, baseline, progressive, arithmetic-coded and with restart
// markers, and a few damaged ones of each (cut short, garbled, claiming a
// size their data cannot hold). Usage: fuzz_seed_writer <corpus folder>;
// the files go to <folder>/png_reader and <folder>/jpeg_reader.

// jpeglib.h needs FILE and size_t declared before it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <jpeglib.h>
#include <png.h>
#include <zlib.h>

namespace {

using Bytes = std::vector<uint8_t>;

std::string folder;

void save(const std::string& name, const Bytes& bytes)
{
    const std::string path = folder + "/" + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fclose(file) != 0) {
        std::perror(path.c_str());
        std::exit(1);
    }
}

// A sample that varies along both axes and between channels.
uint16_t sample(int x, int y, int channel, int depth)
{
    const int value = (x * 37 + y * 91 + channel * 53) & 0xFFFF;
    return static_cast<uint16_t>(depth == 16 ? value * 977 : value % (1 << depth));
}

void appendBytes(png_structp png, png_bytep data, size_t length)
{
    auto* out = static_cast<Bytes*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + length);
}

Bytes png(int width, int height, int colorType, int depth, bool interlaced, int paletteSize = 0, int transparent = 0)
{
    Bytes out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &out, appendBytes, nullptr);
    png_set_IHDR(png, info, width, height, depth, colorType, interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    std::vector<png_byte> alphas;
    for (int i = 0; i < paletteSize; ++i) {
        palette.push_back({png_byte(i * 40), png_byte(255 - i * 20), png_byte(i * 90)});
        alphas.push_back(png_byte(255 - i * 50));
    }
    if (paletteSize)
        png_set_PLTE(png, info, palette.data(), paletteSize);
    png_color_16 colour{};
    colour.gray = colour.red = png_uint_16(sample(1, 1, 0, depth));
    if (transparent && paletteSize)
        png_set_tRNS(png, info, alphas.data(), transparent, nullptr);
    else if (transparent)
        png_set_tRNS(png, info, nullptr, 0, &colour);
    png_write_info(png, info);

    const int channels = png_get_channels(png, info);
    const size_t rowBytes = png_get_rowbytes(png, info);
    std::vector<Bytes> rows(height, Bytes(rowBytes));
    std::vector<png_bytep> pointers;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c) {
                const int bit = (x * channels + c) * depth;
                const uint16_t value = paletteSize ? sample(x, y, 0, depth) % paletteSize : sample(x, y, c, depth);
                if (depth == 16) {
                    rows[y][bit / 8] = uint8_t(value >> 8);
                    rows[y][bit / 8 + 1] = uint8_t(value);
                } else {
                    rows[y][bit / 8] |= uint8_t(value << (8 - depth - bit % 8));
                }
            }
        pointers.push_back(rows[y].data());
    }
    png_write_image(png, pointers.data());
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return out;
}

struct JPEGOptions {
    bool colour = true, progressive = false, arithmetic = false, subsampled = true;
    int restartRows = 0;
};

Bytes jpeg(int width, int height, JPEGOptions options)
{
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&info, &buffer, &length);
    info.image_width = width;
    info.image_height = height;
    info.input_components = options.colour ? 3 : 1;
    info.in_color_space = options.colour ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 80, TRUE);
    if (options.colour && !options.subsampled)
        info.comp_info[0].h_samp_factor = info.comp_info[0].v_samp_factor = 1;
    if (options.progressive)
        jpeg_simple_progression(&info);
    info.arith_code = options.arithmetic;
    info.restart_in_rows = options.restartRows;
    jpeg_start_compress(&info, TRUE);
    Bytes row(size_t(width) * info.input_components);
    while (info.next_scanline < info.image_height) {
        for (int x = 0; x < width * info.input_components; ++x)
            row[x] = uint8_t(sample(x / info.input_components, info.next_scanline, x % info.input_components, 8));
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&info, &pointer, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    Bytes out(buffer, buffer + length);
    std::free(buffer);
    return out;
}

Bytes cut(const Bytes& bytes, size_t length)
{
    return Bytes(bytes.begin(), bytes.begin() + std::ptrdiff_t(length));
}

Bytes garbled(Bytes bytes, size_t from)
{
    for (size_t i = from; i + 2 < bytes.size(); i += 7)
        bytes[i] ^= 0x5A;
    return bytes;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus folder>\n", argv[0]);
        return 2;
    }
    folder = std::string(argv[1]) + "/png_reader";
    save("grey1.png", png(13, 7, PNG_COLOR_TYPE_GRAY, 1, false));
    save("grey4-interlaced.png", png(9, 9, PNG_COLOR_TYPE_GRAY, 4, true));
    save("grey8-transparent.png", png(8, 5, PNG_COLOR_TYPE_GRAY, 8, false, 0, 1));
    save("grey-alpha16.png", png(6, 4, PNG_COLOR_TYPE_GRAY_ALPHA, 16, false));
    save("rgb8.png", png(11, 6, PNG_COLOR_TYPE_RGB, 8, false));
    save("rgb16-transparent.png", png(5, 5, PNG_COLOR_TYPE_RGB, 16, false, 0, 1));
    save("rgba8-interlaced.png", png(10, 10, PNG_COLOR_TYPE_RGBA, 8, true));
    save("palette2-transparent.png", png(12, 3, PNG_COLOR_TYPE_PALETTE, 2, false, 4, 3));
    const Bytes rgba16 = png(7, 7, PNG_COLOR_TYPE_RGBA, 16, true);
    save("rgba16-interlaced.png", rgba16);
    const Bytes palette = png(16, 8, PNG_COLOR_TYPE_PALETTE, 8, false, 6, 6);
    save("palette8-transparent.png", palette);
    save("cut-in-header.png", cut(rgba16, 20));
    save("cut-in-data.png", cut(palette, palette.size() - 30));
    save("garbled-data.png", garbled(rgba16, 60));
    Bytes huge = rgba16; // the header's width, height and checksum
    for (size_t at : {16, 20})
        huge[at] = 0, huge[at + 1] = 1, huge[at + 2] = 0, huge[at + 3] = 0;
    const uLong crc = crc32(0, huge.data() + 12, 17);
    for (int i = 0; i < 4; ++i)
        huge[29 + i] = uint8_t(crc >> (24 - 8 * i));
    save("claims-65536-square.png", huge);

    folder = std::string(argv[1]) + "/jpeg_reader";
    const Bytes colour = jpeg(17, 11, {});
    save("colour-420.jpg", colour);
    save("colour-444-restarts.jpg", jpeg(16, 16, {.subsampled = false, .restartRows = 1}));
    save("grey.jpg", jpeg(9, 14, {.colour = false}));
    const Bytes progressive = jpeg(19, 13, {.progressive = true});
    save("colour-progressive.jpg", progressive);
    save("grey-progressive.jpg", jpeg(12, 12, {.colour = false, .progressive = true}));
    save("colour-arithmetic.jpg", jpeg(16, 9, {.arithmetic = true}));
    save("cut-in-header.jpg", cut(colour, 100));
    save("cut-in-data.jpg", cut(progressive, progressive.size() - 40));
    save("garbled-data.jpg", garbled(colour, colour.size() / 2));
    Bytes tall = colour; // the frame header's height and width
    for (size_t i = 2; i + 8 < tall.size(); ++i)
        if (tall[i] == 0xFF && tall[i + 1] == 0xC0) {
            tall[i + 5] = tall[i + 7] = 0xFF, tall[i + 6] = tall[i + 8] = 0x00;
            break;
        }
    save("claims-65280-square.jpg", tall);
    return 0;
}

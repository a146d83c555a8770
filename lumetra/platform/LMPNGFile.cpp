#include "lumetra/platform/LMPictureFiles.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

// libpng reports errors by calling a function that must not return, so it
// leaves through longjmp. The functions that hold a setjmp keep only
// trivially destructible locals: a jump past a C++ destructor is undefined.

namespace {

struct PNGErrorState {
    std::jmp_buf jump;
    char message[256];
};

[[noreturn]] void onPNGError(png_structp png, png_const_charp message)
{
    auto* state = static_cast<PNGErrorState*>(png_get_error_ptr(png));
    std::snprintf(state->message, sizeof(state->message), "%s", message);
    std::longjmp(state->jump, 1);
}

// Warnings concern ancillary chunks (a colour profile, text); the pixels are whole.
void onPNGWarning(png_structp, png_const_charp)
{}

// The file's bytes, handed to libpng as it asks for them.
struct PNGSource {
    const uint8_t* data;
    size_t length;
    size_t position;
};

void readPNGBytes(png_structp png, png_bytep destination, size_t count)
{
    auto* source = static_cast<PNGSource*>(png_get_io_ptr(png));
    if (count > source->length - source->position)
        png_error(png, "the file ends early");
    std::memcpy(destination, source->data + source->position, count);
    source->position += count;
}

// Deflate packs at most 1032 bytes into one (a 258-byte match in two bits).
constexpr uint64_t deflateBestRatio = 1032;

bool readPNGHeader(png_structp png, png_infop info, PNGErrorState& state, PNGSource& source, png_uint_32& width,
                   png_uint_32& height)
{
    if (setjmp(state.jump))
        return false;
    png_set_read_fn(png, &source, readPNGBytes);
    // Only IHDR, PLTE, tRNS, IDAT and IEND matter to the pixels; every other
    // chunk is skipped unread. libpng would otherwise allocate what a text or
    // profile chunk's length claims (only warning when it exceeds its limit).
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_read_info(png, info);

    // The rows as stored, before any conversion, cannot be shorter than their
    // bits; compressed, they still need that over deflate's best ratio.
    width = png_get_image_width(png, info);
    height = png_get_image_height(png, info);
    const uint64_t storedBytes = uint64_t{png_get_rowbytes(png, info)} * height;
    if (storedBytes / deflateBestRatio > source.length) {
        char message[128];
        std::snprintf(message, sizeof(message), "%zu bytes cannot hold %u by %u pixels", source.length, width, height);
        png_error(png, message);
    }

    // Every colour type to 8-bit RGBA: palettes and small grey depths expand,
    // a transparent colour becomes alpha, 16 bits round to 8, grey becomes
    // RGB, and opaque images get an alpha of 255.
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);

    if (png_get_rowbytes(png, info) != static_cast<size_t>(width) * 4)
        png_error(png, "unexpected layout after conversion to RGBA");
    return true;
}

bool readPNGRows(png_structp png, png_infop info, PNGErrorState& state, png_bytepp rows)
{
    if (setjmp(state.jump))
        return false;
    png_read_image(png, rows);
    png_read_end(png, info);
    return true;
}

bool writePNGRows(png_structp png, png_infop info, PNGErrorState& state, std::FILE* file, png_uint_32 width,
                  png_uint_32 height, png_bytepp rows)
{
    if (setjmp(state.jump))
        return false;
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, info);
    return true;
}

std::vector<png_bytep> rowPointers(LMBitmap& bitmap)
{
    std::vector<png_bytep> rows(static_cast<size_t>(bitmap.pixelsHigh()));
    for (int32_t y = 0; y < bitmap.pixelsHigh(); ++y)
        rows[static_cast<size_t>(y)] = bitmap.rowAt(y);
    return rows;
}

} // namespace

std::shared_ptr<LMBitmap> LMReadPNGData(const uint8_t* data, size_t length, std::string& error)
{
    PNGErrorState state{};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &state, onPNGError, onPNGWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_read_struct(png ? &png : nullptr, nullptr, nullptr);
        error = "libpng could not start";
        return nullptr;
    }

    std::shared_ptr<LMBitmap> bitmap;
    PNGSource source{data, length, 0};
    png_uint_32 width = 0, height = 0;
    if (readPNGHeader(png, info, state, source, width, height)) {
        bitmap = width <= INT32_MAX && height <= INT32_MAX
                     ? newBIR(static_cast<int32_t>(width), static_cast<int32_t>(height))
                     : nullptr;
        if (!bitmap)
            std::snprintf(state.message, sizeof(state.message), "no bitmap of %u by %u pixels", width, height);
        else if (std::vector<png_bytep> rows = rowPointers(*bitmap); !readPNGRows(png, info, state, rows.data()))
            bitmap.reset();
    }
    png_destroy_read_struct(&png, &info, nullptr);
    if (!bitmap)
        error = state.message;
    return bitmap;
}

bool LMWritePNGFile(const LMBitmap& bitmap, std::FILE* file, std::string& error)
{
    PNGErrorState state{};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state, onPNGError, onPNGWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(png ? &png : nullptr, nullptr);
        error = "libpng could not start";
        return false;
    }
    // libpng reads through the row pointers only.
    std::vector<png_bytep> rows = rowPointers(const_cast<LMBitmap&>(bitmap));
    const bool written = writePNGRows(png, info, state, file, static_cast<png_uint_32>(bitmap.pixelsWide()),
                                      static_cast<png_uint_32>(bitmap.pixelsHigh()), rows.data());
    // libpng says only "Write Error"; the stream knows why.
    const int writeError = std::ferror(file) ? errno : 0;
    png_destroy_write_struct(&png, &info);
    if (!written)
        error = writeError ? std::strerror(writeError) : state.message;
    return written;
}

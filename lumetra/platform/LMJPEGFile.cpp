#include "lumetra/platform/LMPictureFiles.h"

// jpeglib.h needs FILE and size_t declared before it.
#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstdio>

#include <jpeglib.h>

// libjpeg reports errors by calling a function that must not return, so it
// leaves through longjmp. The functions that hold a setjmp keep only
// trivially destructible locals: a jump past a C++ destructor is undefined.

namespace {

struct JPEGErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void onJPEGError(j_common_ptr info)
{
    auto* errors = reinterpret_cast<JPEGErrorManager*>(info->err);
    (*info->err->format_message)(info, errors->message);
    std::longjmp(errors->jump, 1);
}

// libjpeg only warns about damaged data ("Premature end of JPEG file",
// "Corrupt JPEG data") and would fill what is missing with grey; a picture
// like that is refused instead. Trace messages (level 1 and above) are ignored.
void onJPEGMessage(j_common_ptr info, int level)
{
    if (level < 0)
        onJPEGError(info);
}

// A Huffman-coded 8x8 block takes at least one bit. A file may code a
// single component and leave the others flat, so the data must hold at least
// one bit for each block of the component with the fewest.
size_t fewestBytesFor(const jpeg_decompress_struct& info)
{
    uint64_t blocks = UINT64_MAX;
    for (int i = 0; i < info.num_components; ++i)
        blocks = std::min(blocks, uint64_t{info.comp_info[i].width_in_blocks} * info.comp_info[i].height_in_blocks);
    return static_cast<size_t>((blocks + 7) / 8);
}

bool readJPEGHeader(jpeg_decompress_struct& info, JPEGErrorManager& errors, const uint8_t* data, size_t length)
{
    if (setjmp(errors.jump))
        return false;
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, data, length);
    jpeg_read_header(&info, TRUE);
    // Arithmetic coding may legally run past the end of its data (the
    // decoder reads zeros), so it is held to the same bound: a file of less
    // than a bit a block is a flat picture at best.
    if (length < fewestBytesFor(info)) {
        std::snprintf(errors.message, sizeof(errors.message), "%zu bytes cannot hold %u by %u pixels", length,
                      info.image_width, info.image_height);
        return false;
    }
    // A libjpeg-turbo colour space: grey and colour files alike come out as
    // RGBA with opaque alpha.
    info.out_color_space = JCS_EXT_RGBA;
    jpeg_calc_output_dimensions(&info);
    return true;
}

// Starting the decompressor allocates libjpeg's own buffers, for a
// progressive file as large as the picture, so it waits until the bitmap
// exists.
bool readJPEGRows(jpeg_decompress_struct& info, JPEGErrorManager& errors, LMBitmap& bitmap)
{
    if (setjmp(errors.jump))
        return false;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = bitmap.rowAt(static_cast<int32_t>(info.output_scanline));
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    return true;
}

} // namespace

std::shared_ptr<LMBitmap> LMReadJPEGData(const uint8_t* data, size_t length, std::string& error)
{
    JPEGErrorManager errors{};
    jpeg_decompress_struct info{};
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = onJPEGError;
    errors.base.emit_message = onJPEGMessage;

    std::shared_ptr<LMBitmap> bitmap;
    if (readJPEGHeader(info, errors, data, length)) {
        const JDIMENSION width = info.output_width, height = info.output_height;
        bitmap = width <= INT32_MAX && height <= INT32_MAX
                     ? newBIR(static_cast<int32_t>(width), static_cast<int32_t>(height))
                     : nullptr;
        if (!bitmap)
            std::snprintf(errors.message, sizeof(errors.message), "no bitmap of %u by %u pixels", width, height);
        else if (!readJPEGRows(info, errors, *bitmap))
            bitmap.reset();
    }
    // Safe on a half-made decompressor: it frees what exists.
    jpeg_destroy_decompress(&info);
    if (!bitmap)
        error = errors.message;
    return bitmap;
}

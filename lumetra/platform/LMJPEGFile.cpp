#include "lumetra/platform/LMPictureFiles.h"

// jpeglib.h needs FILE and size_t declared before it.
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

bool readJPEGHeader(jpeg_decompress_struct& info, JPEGErrorManager& errors, std::FILE* file)
{
    if (setjmp(errors.jump))
        return false;
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    // A libjpeg-turbo colour space: grey and colour files alike come out as
    // RGBA with opaque alpha.
    info.out_color_space = JCS_EXT_RGBA;
    jpeg_start_decompress(&info);
    return true;
}

bool readJPEGRows(jpeg_decompress_struct& info, JPEGErrorManager& errors, LMBitmap& bitmap)
{
    if (setjmp(errors.jump))
        return false;
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = bitmap.rowAt(static_cast<int32_t>(info.output_scanline));
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    return true;
}

} // namespace

std::shared_ptr<LMBitmap> LMReadJPEGFile(std::FILE* file, std::string& error)
{
    JPEGErrorManager errors{};
    jpeg_decompress_struct info{};
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = onJPEGError;
    errors.base.emit_message = onJPEGMessage;

    std::shared_ptr<LMBitmap> bitmap;
    if (readJPEGHeader(info, errors, file)) {
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

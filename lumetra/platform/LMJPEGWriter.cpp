#include "lumetra/platform/LMPictureFiles.h"

// jpeglib.h needs FILE and size_t declared before it.
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

// As with reading, libjpeg leaves through longjmp on an error; the function
// holding the setjmp keeps only trivially destructible locals.

namespace {

struct JPEGWriteErrors {
    jpeg_error_mgr base;
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void onWriteError(j_common_ptr info)
{
    auto* errors = reinterpret_cast<JPEGWriteErrors*>(info->err);
    (*info->err->format_message)(info, errors->message);
    std::longjmp(errors->jump, 1);
}

bool compress(jpeg_compress_struct& info, JPEGWriteErrors& errors, const LMBitmap& bitmap, std::FILE* file, int quality)
{
    if (setjmp(errors.jump))
        return false;
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = static_cast<JDIMENSION>(bitmap.pixelsWide());
    info.image_height = static_cast<JDIMENSION>(bitmap.pixelsHigh());
    // libjpeg-turbo reads the RGBA rows as they are and drops the alpha.
    info.input_components = 4;
    info.in_color_space = JCS_EXT_RGBA;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        auto row = const_cast<JSAMPROW>(bitmap.rowAt(static_cast<int32_t>(info.next_scanline)));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    return true;
}

} // namespace

bool LMWriteJPEGFile(const LMBitmap& bitmap, std::FILE* file, int quality, std::string& error)
{
    if (bitmap.pixelsWide() <= 0 || bitmap.pixelsHigh() <= 0 || bitmap.pixelsWide() > JPEG_MAX_DIMENSION ||
        bitmap.pixelsHigh() > JPEG_MAX_DIMENSION) {
        error = "a JPEG file holds 1 to " + std::to_string(JPEG_MAX_DIMENSION) + " pixels a side, not " +
                std::to_string(bitmap.pixelsWide()) + " by " + std::to_string(bitmap.pixelsHigh());
        return false;
    }
    JPEGWriteErrors errors{};
    jpeg_compress_struct info{};
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = onWriteError;
    const bool written = compress(info, errors, bitmap, file, quality < 1 ? 1 : quality > 100 ? 100 : quality);
    // libjpeg says only that the output file could not be written; the stream knows why.
    const int writeError = std::ferror(file) ? errno : 0;
    jpeg_destroy_compress(&info);
    if (!written)
        error = writeError ? std::strerror(writeError) : errors.message;
    return written;
}

// Picture reading (libvips's PNG loader behind LMPicture) on arbitrary bytes. libpng refuses a chunk whose checksum
// is wrong, which would stop nearly every mutation at the first chunk, so
// the input's chunk checksums are made right before it is read (refusing a
// bad one is left to the unit tests). What is read must write and read back
// to the same pixels.

#include "PictureFuzzing.h"

#include <zlib.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<uint8_t> png(data, data + size);
    // After the 8-byte signature, chunks of length, type, data and checksum.
    for (size_t at = 8; at + 12 <= png.size();) {
        const size_t length =
            size_t{png[at]} << 24 | size_t{png[at + 1]} << 16 | size_t{png[at + 2]} << 8 | png[at + 3];
        if (length > png.size() - at - 12)
            break;
        const uLong crc = crc32(0, png.data() + at + 4, static_cast<uInt>(length + 4));
        for (int i = 0; i < 4; ++i)
            png[at + 8 + length + i] = static_cast<uint8_t>(crc >> (24 - 8 * i));
        at += length + 12;
    }

    LMPictureFileContents contents;
    if (fuzzing::readPicture(png.data(), png.size(), contents))
        fuzzing::checkRoundTrip(contents, LMPictureFileFormat::png, true);
    return 0;
}

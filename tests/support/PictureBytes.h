#pragma once

// PNG and JPEG files as bytes, and the damaged copies of a whole PNG and a
// whole JPEG that the reading tests feed to LMPicture.

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline Bytes readBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline void writeBytes(const std::string& path, const Bytes& bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

struct DamagedPicture {
    std::string name;
    Bytes bytes;
    std::string logged; // what the one line it logs must contain
};

// One file for each way the PNG and the JPEG reader can fail: not a picture,
// ending early in the header or the rows, a damaged chunk, and a
// header claiming more pixels than the file could hold.
inline std::vector<DamagedPicture> damagedPictures(const Bytes& png, const Bytes& jpeg)
{
    const auto cut = [](const Bytes& file, size_t length) { return Bytes(file.begin(), file.begin() + long(length)); };
    const auto find = [](const Bytes& file, const Bytes& marker) {
        return size_t(std::search(file.begin(), file.end(), marker.begin(), marker.end()) - file.begin());
    };
    const auto put = [](Bytes& file, size_t at, uint32_t value, int length) {
        for (int i = 0; i < length; ++i)
            file[at + size_t(i)] = uint8_t(value >> (8 * (length - 1 - i)));
    };
    Bytes badHeader = png, hugePNG = png, hugeJPEG = jpeg;
    badHeader[18] ^= 0x55;
    // 100000 by 100000 pixels in the PNG's header, its checksum mended...
    put(hugePNG, 16, 100000, 4);
    put(hugePNG, 20, 100000, 4);
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 12; i < 29; ++i) {
        crc ^= hugePNG[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (0xEDB88320 & (0 - (crc & 1)));
    }
    put(hugePNG, 29, ~crc, 4);
    // A text chunk after the header claiming 218 MB that the file does not
    // hold: refused before anything of that size is allocated.
    Bytes hugeChunk(png.begin(), png.begin() + 33);
    for (const uint8_t byte : Bytes{0x0C, 0xFE, 0x6A, 0x80, 'z', 'T', 'X', 't', 'k', 0, 0, 0, 0, 0, 0})
        hugeChunk.push_back(byte);
    hugeChunk.insert(hugeChunk.end(), png.begin() + 33, png.end());
    // ...and 65500 by 65500 in the JPEG's frame header.
    put(hugeJPEG, find(jpeg, {0xFF, 0xC0}) + 5, 65500u << 16 | 65500u, 4);
    const std::string cannot = "LMPicture: Cannot read ", early = "not enough data";
    return {
        {"empty.png", {}, "is not a PNG, JPEG, TIFF or WebP file"},
        {"text.png", {'n', 'o', 't', ' ', 'a', ' ', 'p', 'n', 'g'}, "is not a PNG, JPEG, TIFF or WebP file"},
        {"header-only.png", cut(png, 33), early},
        {"truncated.png", cut(png, find(png, {'I', 'D', 'A', 'T'}) + 6), early}, // two bytes into its pixels
        {"bad-header-checksum.png", badHeader, cannot},
        {"huge.png", hugePNG, "cannot hold 100000 by 100000 pixels"},
        {"huge-text-chunk.png", hugeChunk, "a chunk claims 218000000 bytes"},
        {"start-only.jpg", cut(jpeg, 3), cannot},
        {"truncated.jpg", cut(jpeg, find(jpeg, {0xFF, 0xDA}) + 16), cannot}, // two bytes into its scan
        {"huge.jpg", hugeJPEG, "cannot hold 65500 by 65500 pixels"},
    };
}

#pragma once

// PNG and JPEG files as bytes, and the damaged copies of a whole PNG and a
// whole JPEG that the reading tests feed to LMPicture.

#include <algorithm>
#include <cstddef>
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
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

// The PNG's header chunk or the JPEG's frame header claiming `width` by
// `height` pixels (the PNG's checksum mended), with no more data behind it.
inline Bytes claiming(Bytes file, uint32_t width, uint32_t height)
{
    const auto put = [&](size_t at, uint32_t value, int length) {
        for (int i = 0; i < length; ++i)
            file[at + size_t(i)] = uint8_t(value >> (8 * (length - 1 - i)));
    };
    if (file[0] == 0x89) {
        put(16, width, 4);
        put(20, height, 4);
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
            put(i + 5, height, 2);
            put(i + 7, width, 2);
            break;
        }
    return file;
}

struct DamagedPicture {
    std::string name;
    Bytes bytes;
    std::string logged; // what the one line it logs must contain
};

// Every way a file may fail to be a picture, made from a whole PNG and a
// whole JPEG.
inline std::vector<DamagedPicture> damagedPictures(const Bytes& png, const Bytes& jpeg)
{
    const auto cut = [](const Bytes& file, size_t length) {
        return Bytes(file.begin(), file.begin() + std::ptrdiff_t(length));
    };
    Bytes badHeader = png, badData = png, garbledHeader = jpeg, garbledData = jpeg;
    badHeader[18] ^= 0x55;
    const Bytes idat{'I', 'D', 'A', 'T'};
    std::search(badData.begin(), badData.end(), idat.begin(), idat.end())[6] ^= 0xFF;
    std::fill(garbledHeader.begin() + 3, garbledHeader.begin() + 40, 0);
    std::fill(garbledData.begin() + std::ptrdiff_t(jpeg.size() / 2), garbledData.end() - 2, 0);
    const std::string cannot = "LMPicture: Cannot read ", early = "the file ends early";
    return {
        {"empty.png", {}, "is neither a PNG nor a JPEG file"},
        {"text.png", {'n', 'o', 't', ' ', 'a', ' ', 'p', 'n', 'g'}, "is neither a PNG nor a JPEG file"},
        {"signature-only.png", cut(png, 8), early},
        {"header-only.png", cut(png, 33), early},
        {"truncated.png", cut(png, png.size() / 2), early},
        {"without-its-end.png", cut(png, png.size() - 12), early},
        {"bad-header-checksum.png", badHeader, cannot},
        {"bad-data.png", badData, cannot},
        {"zero-wide.png", claiming(png, 0, 8), cannot},
        {"wider-than-the-data.png", claiming(png, 4000, 8), "cannot hold 4000 by 8 pixels"},
        {"huge.png", claiming(png, 100000, 100000), "cannot hold 100000 by 100000 pixels"},
        {"start-only.jpg", cut(jpeg, 3), cannot},
        {"truncated.jpg", cut(jpeg, jpeg.size() / 2), cannot},
        {"garbled-header.jpg", garbledHeader, cannot},
        {"garbled-data.jpg", garbledData, cannot},
        {"zero-high.jpg", claiming(jpeg, 16, 0), cannot},
        {"huge.jpg", claiming(jpeg, 65500, 65500), "cannot hold 65500 by 65500 pixels"},
    };
}

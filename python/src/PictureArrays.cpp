#include "PictureArrays.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

namespace py = pybind11;

namespace {

std::string shapeText(const py::array& array)
{
    std::string text;
    for (py::ssize_t i = 0; i < array.ndim(); ++i)
        text += (i ? " × " : "") + std::to_string(array.shape(i));
    return text.empty() ? "a scalar" : text;
}

// One sample of the array, as the 16-bit value the library would hold.
uint16_t sixteenBits(uint16_t sample)
{
    return sample;
}
uint16_t sixteenBits(float sample)
{
    if (!(sample > 0)) // NaN too
        return 0;
    return uint16_t(std::lround(std::min(sample, 1.0f) * 65535.0f));
}

// Copies rows of `channels` samples into RGBA pixels of the bitmap (opaque),
// grey spread over the three colours.
template <typename Sample, typename Pixel, typename Convert>
void copyIntoRGBA(const Sample* samples, int channels, int32_t width, int32_t height, Pixel opaque,
                  Pixel* (*rowAt)(void*, int32_t), void* bitmap, Convert convert)
{
    for (int32_t y = 0; y < height; ++y) {
        const Sample* in = samples + size_t(y) * size_t(width) * size_t(channels);
        Pixel* out = rowAt(bitmap, y);
        for (int32_t x = 0; x < width; ++x, in += channels, out += 4) {
            out[0] = convert(in[0]);
            out[1] = channels == 3 ? convert(in[1]) : out[0];
            out[2] = channels == 3 ? convert(in[2]) : out[0];
            out[3] = opaque;
        }
    }
}

uint8_t* rowOf8(void* bitmap, int32_t y)
{
    return static_cast<LMBitmap*>(bitmap)->rowAt(y);
}
uint16_t* rowOf16(void* bitmap, int32_t y)
{
    return static_cast<LMBitmap16*>(bitmap)->rowAt(y);
}

template <typename Sample>
std::shared_ptr<LMPicture> pictureOf(const py::array& array, int channels, int32_t width, int32_t height)
{
    auto contiguous = py::array_t<Sample, py::array::c_style>::ensure(array);
    if (!contiguous)
        throw std::invalid_argument("the array's samples cannot be read in order");
    const Sample* samples = contiguous.data();
    std::shared_ptr<LMPicture> picture;
    {
        py::gil_scoped_release release;
        if constexpr (std::is_same_v<Sample, uint8_t>) {
            auto bitmap = newBIR(width, height);
            if (bitmap)
                copyIntoRGBA<uint8_t, uint8_t>(samples, channels, width, height, 255, rowOf8, bitmap.get(),
                                               [](uint8_t v) { return v; });
            picture = LMPicture::pictureWithBitmap(bitmap);
        } else {
            auto bitmap = LMBitmap16::bitmapWithSize(width, height);
            if (bitmap)
                copyIntoRGBA<Sample, uint16_t>(samples, channels, width, height, 65535, rowOf16, bitmap.get(),
                                               [](Sample v) { return sixteenBits(v); });
            picture = LMPicture::pictureWithBitmap16(bitmap);
        }
    }
    if (!picture)
        throw std::invalid_argument("no picture of " + std::to_string(width) + " by " + std::to_string(height) +
                                    " pixels can be held in memory");
    picture->setGrey(channels == 1);
    return picture;
}

// The luma of a colour by Rec. 709's weights, in the samples' own scale.
double luma(double red, double green, double blue)
{
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

template <typename Sample, typename Pixel, typename Convert>
py::array arrayOf(const Pixel* (*rowAt)(const void*, int32_t), const void* bitmap, int32_t width, int32_t height,
                  int channels, Convert convert)
{
    py::array_t<Sample> array(channels == 1 ? std::vector<py::ssize_t>{height, width, 1}
                                            : std::vector<py::ssize_t>{height, width, 3});
    Sample* out = array.mutable_data();
    py::gil_scoped_release release;
    for (int32_t y = 0; y < height; ++y) {
        const Pixel* in = rowAt(bitmap, y);
        for (int32_t x = 0; x < width; ++x, in += 4) {
            if (channels == 1) {
                *out++ = convert(luma(in[0], in[1], in[2]));
            } else {
                *out++ = convert(in[0]);
                *out++ = convert(in[1]);
                *out++ = convert(in[2]);
            }
        }
    }
    return array;
}

const uint8_t* constRowOf8(const void* bitmap, int32_t y)
{
    return static_cast<const LMBitmap*>(bitmap)->rowAt(y);
}
const uint16_t* constRowOf16(const void* bitmap, int32_t y)
{
    return static_cast<const LMBitmap16*>(bitmap)->rowAt(y);
}

} // namespace

std::shared_ptr<LMPicture> pictureFromArray(const py::array& array)
{
    const bool plainGrey = array.ndim() == 2;
    const int channels = plainGrey ? 1 : array.ndim() == 3 ? int(array.shape(2)) : 0;
    if (channels != 1 && channels != 3)
        throw std::invalid_argument("a picture is an array of height × width × 3 (or × 1, or height × width); "
                                    "this one is " +
                                    shapeText(array));
    const py::ssize_t height = array.shape(0), width = array.shape(1);
    if (width < 1 || height < 1 || width > INT32_MAX || height > INT32_MAX)
        throw std::invalid_argument("a picture of " + shapeText(array) + " has no pixels to draw");
    const py::dtype type = array.dtype();
    if (type.is(py::dtype::of<uint8_t>()))
        return pictureOf<uint8_t>(array, channels, int32_t(width), int32_t(height));
    if (type.is(py::dtype::of<uint16_t>()))
        return pictureOf<uint16_t>(array, channels, int32_t(width), int32_t(height));
    if (type.is(py::dtype::of<float>()))
        return pictureOf<float>(array, channels, int32_t(width), int32_t(height));
    throw std::invalid_argument("pictures are arrays of uint8, uint16 or float32; this one is " +
                                py::str(static_cast<const py::handle&>(type)).cast<std::string>());
}

py::array arrayFromPicture(const LMPicture& picture, const std::string& dtype, int channels)
{
    if (channels != 1 && channels != 3)
        throw std::invalid_argument("channels must be 1 or 3, not " + std::to_string(channels));
    const LMBitmap16* deep = picture.bitmap16().get();
    const LMBitmap* bytes = picture.bitmap().get();
    if (!deep && !bytes)
        throw std::invalid_argument("the picture has no pixels");
    const int32_t width = deep ? deep->pixelsWide() : bytes->pixelsWide();
    const int32_t height = deep ? deep->pixelsHigh() : bytes->pixelsHigh();
    // Every sample as a fraction of its own full scale, then to the array's.
    const double full = deep ? 65535.0 : 255.0;
    auto rows = [&](auto convert, auto sample) {
        using Sample = decltype(sample);
        return deep ? arrayOf<Sample, uint16_t>(constRowOf16, deep, width, height, channels, convert)
                    : arrayOf<Sample, uint8_t>(constRowOf8, bytes, width, height, channels, convert);
    };
    // Samples at the depth they are held: copied as they are (the common case, and the one to keep fast).
    if (channels == 3 && dtype == (deep ? "uint16" : "uint8"))
        return deep ? rows([](uint16_t v) { return v; }, uint16_t()) : rows([](uint8_t v) { return v; }, uint8_t());
    if (dtype == "uint8")
        return rows([full](double v) { return uint8_t(std::lround(v * 255.0 / full)); }, uint8_t());
    if (dtype == "uint16")
        return rows([full](double v) { return uint16_t(std::lround(v * 65535.0 / full)); }, uint16_t());
    if (dtype == "float32")
        return rows([full](double v) { return float(v / full); }, float());
    throw std::invalid_argument("dtype must be uint8, uint16 or float32, not " + dtype);
}

#pragma once

#include <lumetra/interop/LMPicture.h>

#include <pybind11/numpy.h>

#include <memory>
#include <string>

// Pictures to and from NumPy arrays: height × width × 3 (colour) or × 1
// (grey; a plain height × width array too), of uint8, uint16 or float32
// samples. uint8 pictures keep 8 bits; uint16 and float32 ones are held at
// 16 (float samples clamped to [0, 1] and rounded to the nearest of 65535
// steps, NaN as 0), which is what the library's targets hold.

// A picture holding a copy of the array's pixels, opaque, marked grey when
// the array has one channel. Throws std::invalid_argument naming what is
// wrong with the array's shape or type.
std::shared_ptr<LMPicture> pictureFromArray(const pybind11::array& array);

// The picture's pixels as a new array of `dtype` ("uint8", "uint16" or
// "float32") with `channels` (1 or 3; 1 is the Rec. 709 luma of the colour,
// which is the grey itself for grey pixels). 8-bit pictures give uint16 and
// float samples scaled from their bytes; 16-bit pictures give bytes rounded.
pybind11::array arrayFromPicture(const LMPicture& picture, const std::string& dtype, int channels);

// Checked views of the buffers that Python hands to a camera. Every check
// runs before the library sees a byte, so a wrong argument ends in an
// exception that names what was expected, never in a read out of bounds.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <vector>

#include "kalviro.h"

namespace kalviro::binding {

namespace py = pybind11;

// Bytes [begin, end) that an argument's memory spans; empty when it holds
// nothing.
struct Extent {
    const char* begin = nullptr;
    const char* end = nullptr;
    bool overlaps(const Extent& o) const { return begin < o.end && o.begin < end; }
};

// The 512-byte parameter block: a contiguous 1-D buffer of unsigned bytes
// (bytearray, bytes, memoryview, uint8 array). `writable` where the call may
// store into it, as every per-frame call does.
class BlockView {
public:
    BlockView(py::handle obj, bool writable);
    TempFrameInfo* info() const { return static_cast<TempFrameInfo*>(buf_.ptr); }
    Extent extent() const;

private:
    py::buffer_info buf_;
};

// A 2-D uint16 image with any strides.
class ImageView {
public:
    explicit ImageView(py::handle obj);
    py::ssize_t rows() const { return rows_; }
    py::ssize_t cols() const { return cols_; }
    uint64_t count() const { return static_cast<uint64_t>(rows_) * static_cast<uint64_t>(cols_); }
    Extent extent() const { return extent_; }
    // The pixels in row order: the array's own memory when it is C-ordered
    // and aligned, else gathered into scratch. Touches no Python object, so
    // it may run without the GIL.
    const uint16_t* pixels(std::vector<uint16_t>& scratch) const;

private:
    py::array array_;
    const char* data_;
    py::ssize_t rows_, cols_, rowStride_, colStride_;
    bool direct_;
    Extent extent_;
};

// Where a conversion writes: a new float32 array of the image's shape, or
// the caller's, which must be C-contiguous, writable and apart from the
// image and the block.
class OutView {
public:
    OutView(py::handle out, const ImageView& image, const BlockView& block);
    float* data() const { return data_; }
    py::array array() const { return array_; }

private:
    py::array array_;
    float* data_;
};

}  // namespace kalviro::binding

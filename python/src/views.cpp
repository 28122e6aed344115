#include "views.hpp"

#include <cstring>
#include <string>

namespace kalviro::binding {

namespace {

constexpr py::ssize_t kBlockSize = static_cast<py::ssize_t>(sizeof(TempFrameInfo));

std::string typeName(py::handle obj) { return py::str(py::type::handle_of(obj).attr("__name__")); }

std::string dtypeName(const py::array& a) { return py::str(a.dtype()); }

Extent extentOf(const void* data, py::ssize_t itemSize, const py::ssize_t* shape, const py::ssize_t* strides,
                py::ssize_t ndim) {
    py::ssize_t low = 0, high = itemSize;
    for (py::ssize_t i = 0; i < ndim; ++i) {
        if (shape[i] == 0) return {};
        const py::ssize_t reach = (shape[i] - 1) * strides[i];
        (reach < 0 ? low : high) += reach;
    }
    const char* base = static_cast<const char*>(data);
    return {base + low, base + high};
}

bool aligned(const void* p, std::size_t alignment) {
    return reinterpret_cast<std::uintptr_t>(p) % alignment == 0;
}

// A struct-module format of one unsigned byte, with or without an order mark.
bool unsignedBytes(const std::string& format) {
    const std::string bare =
        format.size() == 2 && std::strchr("@=<>!", format[0]) ? format.substr(1) : format;
    return bare == "B";
}

}  // namespace

BlockView::BlockView(py::handle obj, bool writable) {
    const char* expected = writable ? "a writable buffer of 512 unsigned bytes (bytearray or uint8 array)"
                                    : "a buffer of 512 unsigned bytes (bytes, bytearray or uint8 array)";
    if (!PyObject_CheckBuffer(obj.ptr())) {
        throw py::type_error("block: expected " + std::string(expected) + ", got " + typeName(obj));
    }
    buf_ = py::reinterpret_borrow<py::buffer>(obj).request();
    if (buf_.itemsize != 1 || !unsignedBytes(buf_.format)) {
        throw py::type_error("block: expected " + std::string(expected) + ", got items of format '" +
                             buf_.format + "'");
    }
    if (writable && buf_.readonly) {
        throw py::type_error("block: expected " + std::string(expected) + ", got a read-only " +
                             typeName(obj) + " (the per-frame call writes into the block)");
    }
    if (buf_.ndim != 1 || buf_.size != kBlockSize) {
        throw py::value_error("block: expected 512 bytes in one dimension, got " + std::to_string(buf_.size) +
                              " in " + std::to_string(buf_.ndim));
    }
    if (buf_.strides[0] != 1) throw py::value_error("block: expected contiguous bytes, got a strided view");
}

Extent BlockView::extent() const {
    const char* base = static_cast<const char*>(buf_.ptr);
    return {base, base + kBlockSize};
}

ImageView::ImageView(py::handle obj) {
    if (!py::isinstance<py::array>(obj)) {
        throw py::type_error("image: expected a 2-D numpy array of uint16, got " + typeName(obj));
    }
    array_ = py::reinterpret_borrow<py::array>(obj);
    if (!array_.dtype().equal(py::dtype::of<uint16_t>())) {
        throw py::type_error("image: expected dtype uint16 in native byte order, got " + dtypeName(array_));
    }
    if (array_.ndim() != 2) {
        throw py::value_error("image: expected a 2-D array, got " + std::to_string(array_.ndim()) + "-D");
    }
    data_ = static_cast<const char*>(array_.data());
    rows_ = array_.shape(0);
    cols_ = array_.shape(1);
    rowStride_ = array_.strides(0);
    colStride_ = array_.strides(1);
    direct_ = (array_.flags() & py::array::c_style) != 0 && aligned(data_, alignof(uint16_t));
    extent_ = extentOf(data_, 2, array_.shape(), array_.strides(), 2);
}

const uint16_t* ImageView::pixels(std::vector<uint16_t>& scratch) const {
    if (direct_) return reinterpret_cast<const uint16_t*>(data_);
    scratch.resize(static_cast<std::size_t>(count()));
    uint16_t* to = scratch.data();
    for (py::ssize_t y = 0; y < rows_; ++y, to += cols_) {
        const char* from = data_ + y * rowStride_;
        if (colStride_ == sizeof *to) {
            std::memcpy(to, from, static_cast<std::size_t>(cols_) * sizeof *to);
            continue;
        }
        for (py::ssize_t x = 0; x < cols_; ++x) std::memcpy(to + x, from + x * colStride_, sizeof *to);
    }
    return scratch.data();
}

OutView::OutView(py::handle out, const ImageView& image, const BlockView& block) {
    if (out.is_none()) {
        py::array_t<float> fresh({image.rows(), image.cols()});
        data_ = fresh.mutable_data();
        array_ = std::move(fresh);
        return;
    }
    if (!py::isinstance<py::array>(out)) {
        throw py::type_error("out: expected a numpy array of float32, got " + typeName(out));
    }
    array_ = py::reinterpret_borrow<py::array>(out);
    if (!array_.dtype().equal(py::dtype::of<float>())) {
        throw py::type_error("out: expected dtype float32 in native byte order, got " + dtypeName(array_));
    }
    if (array_.ndim() != 2 || array_.shape(0) != image.rows() || array_.shape(1) != image.cols()) {
        throw py::value_error("out: expected the image's shape (" + std::to_string(image.rows()) + ", " +
                              std::to_string(image.cols()) + "), got " +
                              std::string(py::str(py::tuple(array_.attr("shape")))));
    }
    if ((array_.flags() & py::array::c_style) == 0 || !aligned(array_.data(), alignof(float))) {
        throw py::value_error("out: expected a C-contiguous, aligned array");
    }
    if (!array_.writeable()) throw py::value_error("out: expected a writable array");
    const Extent own = extentOf(array_.data(), 4, array_.shape(), array_.strides(), 2);
    if (own.overlaps(image.extent()) || own.overlaps(block.extent())) {
        throw py::value_error("out: expected memory apart from the image and the block");
    }
    data_ = static_cast<float*>(array_.mutable_data());
}

}  // namespace kalviro::binding

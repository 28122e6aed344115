// The size of a raw frame: width x height 16-bit pixels and the 512-byte
// block. Given by the user (--size 640x512), or inferred from the size of a
// file when exactly one of the common sensor sizes fits it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kalviro::cli {

constexpr uint64_t kBlockBytes = 512;

struct FrameSize {
    int32_t width = 0;
    int32_t height = 0;

    uint64_t pixels() const { return static_cast<uint64_t>(width) * static_cast<uint64_t>(height); }
    uint64_t frameBytes() const { return pixels() * 2 + kBlockBytes; }
    std::string text() const;  // "640x512"
};

// "640x512" (x or X); throws Failure on anything else or a side of 0.
FrameSize parseSize(const std::string& text);

// The sizes tried when none is given.
const std::vector<FrameSize>& commonSizes();

struct FileLayout {
    FrameSize size;
    uint64_t frames = 0;
};

// The size and frame count of a file of fileBytes bytes. A given size must
// divide it; otherwise exactly one common size must. Throws Failure with one
// line naming the file size and the sizes that fit, if any.
FileLayout inferLayout(const std::string& name, uint64_t fileBytes, const std::optional<FrameSize>& given);

// How badly the rows of a frame line up, read with a given width: the mean
// difference between a pixel and the one a row below. A width and height
// given the wrong way round score far worse than the right ones.
double rowMismatch(const uint16_t* pixels, const FrameSize& size);

}  // namespace kalviro::cli

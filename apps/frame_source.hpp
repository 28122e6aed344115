// Frames read one at a time from a raw file or a stream: a file holds one
// frame or a sequence back to back; "-" is standard input, a stream from a
// capture program, whose size must be given. A gray-value archive (a TIFF
// written by convert --counts) reads as the raw file it came from, its size
// taken from the file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frame_size.hpp"
#include "kalviro.h"

namespace kalviro::cli {

class CountsArchiveReader;

struct Frame {
    uint64_t index = 0;
    std::vector<uint16_t> pixels;  // empty when only the block was read
    uint16_t centreGray = 0;       // the gray handed to the per-frame call
    TempFrameInfo block{};         // the 512 bytes as the camera wrote them
};

class FrameSource {
public:
    FrameSource(const std::string& path, const std::optional<FrameSize>& size);
    // Frames held in memory, such as a synthetic one.
    FrameSource(std::string name, std::vector<uint8_t> bytes, const FrameSize& size);
    ~FrameSource();
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;

    const std::string& name() const { return name_; }
    const FrameSize& size() const { return size_; }
    // Known for files, not for streams.
    std::optional<uint64_t> frameCount() const { return frames_; }

    // The next frame, with its pixels only when asked (a frame before the
    // chosen ones needs just its block and centre gray). false at the end;
    // a stream that stops inside a frame throws Failure.
    bool next(Frame& frame, bool withPixels);

private:
    // false at a clean end before the frame; Failure inside it.
    bool readExactly(uint8_t* to, uint64_t bytes);
    void skip(uint64_t bytes);

    std::string name_;
    std::FILE* file_ = nullptr;
    bool owned_ = false;
    FrameSize size_;
    std::optional<uint64_t> frames_;
    uint64_t nextIndex_ = 0;
    uint64_t inFrame_ = 0;  // bytes of the current frame read so far
    std::vector<uint8_t> raw_;
    std::vector<uint8_t> memory_;
    std::unique_ptr<CountsArchiveReader> archive_;
};

// The size inferred for a file, or the given one for a stream; for "-"
// without a size, a Failure.
FileLayout layoutOf(const std::string& path, const std::optional<FrameSize>& size);

// A warning on standard error when the first frame of a file reads far
// better with the given width and height swapped.
void warnIfSwapped(const std::string& path, const FrameSize& size);

}  // namespace kalviro::cli

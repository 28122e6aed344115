// Frames read one at a time from a raw file or a stream: a file holds one
// frame or a sequence back to back; "-" (standard input), a FIFO or a device
// is a stream from a capture program, whose size must be given. A stream is
// a recording: when it ends inside a frame, or a signal asks the command to
// stop (StopOnSignal), the frames that arrived whole are the stream, and
// what had arrived when the signal came is read before it stops. A
// gray-value archive (a TIFF written by convert --counts) reads as the raw
// file it came from, its size taken from the file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frames/frame.hpp"
#include "frames/frame_size.hpp"

namespace kalviro::cli {

class CountsArchiveReader;

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
    bool isStream() const { return fd_ >= 0; }

    // The next frame, with its pixels only when asked (a frame before the
    // chosen ones needs just its block and centre gray). false at the end;
    // a file that stops inside a frame throws Failure, a stream ends there.
    // A frame's buffer grows as its bytes arrive: a wrong --size on a short
    // stream allocates no more than what came.
    bool next(Frame& frame, bool withPixels);

    // How a stream ended: the bytes of the frame it ended in (0 when it
    // ended between frames), and the error that ended it, if any.
    uint64_t partialBytes() const { return partial_; }
    const std::string& readError() const { return readError_; }
    // "NAME is truncated: frame N stops after B of F bytes", or "" when the
    // stream ended between frames.
    std::string truncation() const;

private:
    // false at a clean end before the frame, and for a stream at any end;
    // Failure when a file ends inside a frame.
    bool readExactly(uint8_t* to, uint64_t bytes);
    bool readPixels(std::vector<uint16_t>& pixels);
    // Up to `bytes` of a stream; 0 at its end.
    size_t readStream(uint8_t* to, size_t bytes);
    bool skip(uint64_t bytes);

    std::string name_;
    std::FILE* file_ = nullptr;
    int fd_ = -1;  // a stream's
    bool owned_ = false;
    FrameSize size_;
    std::optional<uint64_t> frames_;
    uint64_t nextIndex_ = 0;
    uint64_t inFrame_ = 0;  // bytes of the current frame read so far
    uint64_t partial_ = 0;
    std::string readError_;
    std::vector<uint8_t> scratch_;
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

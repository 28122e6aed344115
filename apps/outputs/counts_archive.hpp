// The radiometric archive: a multi-page TIFF of the camera's own gray
// values, one uint16 page a frame, deflate-compressed, each page carrying
// its frame's 512-byte block in a private tag. It converts again with other
// settings exactly as the raw file it came from, and ImageJ/Fiji opens it as
// a 16-bit stack.
#pragma once

#include <tiffio.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frames/frame_size.hpp"

namespace kalviro::cli {

struct Frame;

// The private tag holding a page's block (TIFF_UNDEFINED, 512 bytes).
constexpr ttag_t kBlockTag = 65432;

// Makes libtiff know the block's tag in every file it opens from now on.
void registerBlockTag();

// true for a regular file that starts as a TIFF does (either byte order,
// classic or BigTIFF): such an input is read as an archive.
bool looksLikeTiff(const std::string& path);

class CountsArchiveReader {
public:
    // Failure unless every page is a WxH uint16 frame with its block.
    explicit CountsArchiveReader(const std::string& path);
    ~CountsArchiveReader();
    CountsArchiveReader(const CountsArchiveReader&) = delete;
    CountsArchiveReader& operator=(const CountsArchiveReader&) = delete;

    const FrameSize& size() const { return size_; }
    uint64_t frames() const { return frames_; }
    // The next page's gray values (always: the centre gray needs them) and
    // block; false after the last page.
    bool next(Frame& frame);

private:
    void checkFile();
    [[noreturn]] void fail(const std::string& what) const;
    void checkPage(uint64_t page) const;

    std::string name_;
    TIFF* tiff_ = nullptr;
    TIFFOpenOptions* options_ = nullptr;
    std::string error_;  // libtiff's last complaint about this file
    FrameSize size_;
    uint64_t frames_ = 0;
    uint64_t next_ = 0;
};

}  // namespace kalviro::cli

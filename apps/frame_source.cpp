#include "frame_source.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "counts_archive.hpp"
#include "failure.hpp"

namespace kalviro::cli {

namespace {

bool isStdin(const std::string& path) { return path == "-"; }

// Size of a regular file; none for a pipe or device, which is read as a stream.
std::optional<uint64_t> regularFileSize(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) throw Failure("cannot open " + path + ": " + std::strerror(errno));
    if (S_ISDIR(st.st_mode)) throw Failure("cannot read " + path + ": it is a directory");
    if (!S_ISREG(st.st_mode)) return std::nullopt;
    return static_cast<uint64_t>(st.st_size);
}

}  // namespace

FileLayout layoutOf(const std::string& path, const std::optional<FrameSize>& size) {
    const std::optional<uint64_t> bytes = isStdin(path) ? std::nullopt : regularFileSize(path);
    if (bytes) return inferLayout(path, *bytes, size);
    if (!size) throw Failure((isStdin(path) ? "standard input" : path) + " is a stream: give its --size WxH");
    return FileLayout{*size, 0};
}

FrameSource::FrameSource(const std::string& path, const std::optional<FrameSize>& size)
    : name_(isStdin(path) ? "<stdin>" : path) {
    if (looksLikeTiff(path)) {
        archive_ = std::make_unique<CountsArchiveReader>(path);
        if (size && (size->width != archive_->size().width || size->height != archive_->size().height)) {
            throw Failure(path + " holds " + archive_->size().text() + " frames, not the given " +
                          size->text());
        }
        size_ = archive_->size();
        frames_ = archive_->frames();
        return;
    }
    const FileLayout layout = layoutOf(path, size);
    size_ = layout.size;
    if (isStdin(path)) {
        file_ = stdin;
    } else {
        file_ = std::fopen(path.c_str(), "rb");
        if (file_ == nullptr) throw Failure("cannot open " + path + ": " + std::strerror(errno));
        owned_ = true;
        if (layout.frames != 0) frames_ = layout.frames;
    }
    raw_.resize(size_.pixels() * 2);
}

FrameSource::FrameSource(std::string name, std::vector<uint8_t> bytes, const FrameSize& size)
    : name_(std::move(name)), size_(size), memory_(std::move(bytes)) {
    const FileLayout layout = inferLayout(name_, memory_.size(), size);
    file_ = ::fmemopen(memory_.data(), memory_.size(), "rb");
    if (file_ == nullptr) throw Failure("cannot read " + name_ + ": " + std::strerror(errno));
    owned_ = true;
    frames_ = layout.frames;
    raw_.resize(size_.pixels() * 2);
}

FrameSource::~FrameSource() {
    if (owned_) std::fclose(file_);
}

bool FrameSource::readExactly(uint8_t* to, uint64_t bytes) {
    uint64_t got = 0;
    while (got < bytes) {
        const size_t n = std::fread(to + got, 1, static_cast<size_t>(bytes - got), file_);
        got += n;
        if (n != 0) continue;
        if (std::ferror(file_)) throw Failure("cannot read " + name_ + ": " + std::strerror(errno));
        break;
    }
    inFrame_ += got;
    if (got == bytes) return true;
    if (inFrame_ == 0) return false;
    throw Failure(name_ + " is truncated: frame " + std::to_string(nextIndex_) + " stops after " +
                  std::to_string(inFrame_) + " of " + std::to_string(size_.frameBytes()) + " bytes");
}

void FrameSource::skip(uint64_t bytes) {
    if (owned_ && ::fseeko(file_, static_cast<off_t>(bytes), SEEK_CUR) == 0) {
        inFrame_ += bytes;
        return;
    }
    readExactly(raw_.data(), bytes);
}

bool FrameSource::next(Frame& frame, bool withPixels) {
    if (frames_ && nextIndex_ >= *frames_) return false;
    if (archive_) {
        if (!archive_->next(frame)) return false;
        if (!withPixels) frame.pixels.clear();
        frame.index = nextIndex_++;
        return true;
    }
    const uint64_t pixelBytes = size_.pixels() * 2;
    const uint64_t centre = static_cast<uint64_t>(size_.height / 2) * static_cast<uint64_t>(size_.width) +
                            static_cast<uint64_t>(size_.width / 2);
    inFrame_ = 0;
    if (withPixels) {
        frame.pixels.resize(size_.pixels());
        auto* bytes = reinterpret_cast<uint8_t*>(frame.pixels.data());
        if (!readExactly(bytes, pixelBytes)) return false;
        // The file is little-endian; only a big-endian host has work here.
        const uint16_t probe = 1;
        if (*reinterpret_cast<const uint8_t*>(&probe) != 1) {
            for (uint16_t& p : frame.pixels) p = static_cast<uint16_t>(p >> 8 | p << 8);
        }
        frame.centreGray = frame.pixels[centre];
    } else {
        // Up to and including the centre pixel, then past the rest.
        if (!readExactly(raw_.data(), 2 * centre + 2)) return false;
        frame.pixels.clear();
        frame.centreGray = static_cast<uint16_t>(raw_[2 * centre] | raw_[2 * centre + 1] << 8);
        skip(pixelBytes - 2 * centre - 2);
    }
    uint8_t block[kBlockBytes];
    readExactly(block, kBlockBytes);
    std::memcpy(&frame.block, block, kBlockBytes);
    frame.index = nextIndex_++;
    return true;
}

void warnIfSwapped(const std::string& path, const FrameSize& size) {
    if (path == "-" || size.width == size.height || size.height < 2 || size.width < 2) return;
    FrameSource source(path, size);
    Frame first;
    if (!source.next(first, true)) return;
    const double given = rowMismatch(first.pixels.data(), size);
    const double swapped = rowMismatch(first.pixels.data(), FrameSize{size.height, size.width});
    // A flat frame says nothing either way.
    if (given > 1.0 && swapped * 2.0 < given) {
        std::fprintf(stderr, "kalviro: warning: %s reads as %dx%d far better than as the given %s\n",
                     path.c_str(), size.height, size.width, size.text().c_str());
    }
}

}  // namespace kalviro::cli

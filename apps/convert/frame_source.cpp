#include "convert/frame_source.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "convert/signals.hpp"
#include "frames/failure.hpp"
#include "outputs/counts_archive.hpp"

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
        fd_ = STDIN_FILENO;
    } else if (layout.frames == 0) {
        // Not blocking in open() until a writer comes, nor later in read():
        // the reads wait in poll(), where a stop request reaches them.
        fd_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd_ < 0) throw Failure("cannot open " + path + ": " + std::strerror(errno));
        owned_ = true;
    } else {
        file_ = std::fopen(path.c_str(), "rb");
        if (file_ == nullptr) throw Failure("cannot open " + path + ": " + std::strerror(errno));
        owned_ = true;
        frames_ = layout.frames;
    }
}

FrameSource::FrameSource(std::string name, std::vector<uint8_t> bytes, const FrameSize& size)
    : name_(std::move(name)), size_(size), memory_(std::move(bytes)) {
    const FileLayout layout = inferLayout(name_, memory_.size(), size);
    file_ = ::fmemopen(memory_.data(), memory_.size(), "rb");
    if (file_ == nullptr) throw Failure("cannot read " + name_ + ": " + std::strerror(errno));
    owned_ = true;
    frames_ = layout.frames;
}

FrameSource::~FrameSource() {
    if (!owned_) return;
    if (file_ != nullptr) std::fclose(file_);
    if (fd_ >= 0) ::close(fd_);
}

size_t FrameSource::readStream(uint8_t* to, size_t bytes) {
    if (!readError_.empty()) return 0;
    for (;;) {
        // Once a stop is asked, only what has arrived is read.
        const bool stopping = stopSignal() != 0;
        pollfd fds[2] = {{fd_, POLLIN, 0}, {stopFd(), POLLIN, 0}};
        const int ready = ::poll(fds, stopping || stopFd() < 0 ? 1 : 2, stopping ? 0 : -1);
        if (ready < 0 && errno != EINTR) break;
        if (ready == 0) return 0;
        if (ready < 0 || (fds[0].revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL)) == 0) continue;
        const ssize_t n = ::read(fd_, to, bytes);
        if (n >= 0) return static_cast<size_t>(n);
        if (errno != EINTR && errno != EAGAIN) break;
    }
    readError_ = std::strerror(errno);
    return 0;
}

bool FrameSource::readExactly(uint8_t* to, uint64_t bytes) {
    uint64_t got = 0;
    while (got < bytes) {
        const size_t want = static_cast<size_t>(std::min<uint64_t>(bytes - got, SIZE_MAX / 2));
        const size_t n = isStream() ? readStream(to + got, want) : std::fread(to + got, 1, want, file_);
        got += n;
        if (n != 0) continue;
        if (!isStream() && std::ferror(file_)) {
            throw Failure("cannot read " + name_ + ": " + std::strerror(errno));
        }
        break;
    }
    inFrame_ += got;
    if (got == bytes) return true;
    if (isStream()) {
        partial_ = inFrame_;
        return false;
    }
    if (inFrame_ == 0) return false;
    partial_ = inFrame_;
    throw Failure(truncation());
}

std::string FrameSource::truncation() const {
    if (partial_ == 0) return "";
    return name_ + " is truncated: frame " + std::to_string(nextIndex_) + " stops after " +
           std::to_string(partial_) + " of " + std::to_string(size_.frameBytes()) + " bytes";
}

bool FrameSource::readPixels(std::vector<uint16_t>& pixels) {
    const uint64_t bytes = size_.pixels() * 2;
    if (!isStream() || pixels.size() == size_.pixels()) {
        pixels.resize(size_.pixels());
        return readExactly(reinterpret_cast<uint8_t*>(pixels.data()), bytes);
    }
    // The buffer at most doubles what has arrived.
    pixels.clear();
    for (uint64_t got = 0; got < bytes;) {
        const uint64_t upto = std::min(bytes, std::max<uint64_t>(2 * got, 1u << 20));
        pixels.resize(static_cast<size_t>(upto / 2));
        if (!readExactly(reinterpret_cast<uint8_t*>(pixels.data()) + got, upto - got)) return false;
        got = upto;
    }
    return true;
}

bool FrameSource::skip(uint64_t bytes) {
    if (!isStream() && ::fseeko(file_, static_cast<off_t>(bytes), SEEK_CUR) == 0) {
        inFrame_ += bytes;
        return true;
    }
    scratch_.resize(64 * 1024);
    for (uint64_t left = bytes; left > 0;) {
        const uint64_t n = std::min<uint64_t>(left, scratch_.size());
        if (!readExactly(scratch_.data(), n)) return false;
        left -= n;
    }
    return true;
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
        if (!readPixels(frame.pixels)) return false;
        // The file is little-endian; only a big-endian host has work here.
        const uint16_t probe = 1;
        if (*reinterpret_cast<const uint8_t*>(&probe) != 1) {
            for (uint16_t& p : frame.pixels) p = static_cast<uint16_t>(p >> 8 | p << 8);
        }
        frame.centreGray = frame.pixels[centre];
    } else {
        // Up to the centre pixel, the centre pixel, then past the rest.
        uint8_t gray[2];
        if (!skip(2 * centre) || !readExactly(gray, 2)) return false;
        frame.pixels.clear();
        frame.centreGray = static_cast<uint16_t>(gray[0] | gray[1] << 8);
        if (!skip(pixelBytes - 2 * centre - 2)) return false;
    }
    uint8_t block[kBlockBytes];
    if (!readExactly(block, kBlockBytes)) return false;
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

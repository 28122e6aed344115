#include "frame_size.hpp"

#include <cstdlib>

#include "failure.hpp"

namespace kalviro::cli {

std::string FrameSize::text() const { return std::to_string(width) + "x" + std::to_string(height); }

FrameSize parseSize(const std::string& text) {
    const auto bad = [&] { return Failure("bad size '" + text + "': expected WIDTHxHEIGHT, e.g. 640x512"); };
    const auto x = text.find_first_of("xX");
    if (x == std::string::npos || x == 0 || x + 1 >= text.size()) throw bad();
    const auto side = [&](const std::string& part) {
        if (part.find_first_not_of("0123456789") != std::string::npos || part.size() > 5) throw bad();
        const long v = std::strtol(part.c_str(), nullptr, 10);
        if (v < 1 || v > 65535) throw bad();
        return static_cast<int32_t>(v);
    };
    return FrameSize{side(text.substr(0, x)), side(text.substr(x + 1))};
}

const std::vector<FrameSize>& commonSizes() {
    static const std::vector<FrameSize> sizes = {{160, 120}, {256, 192}, {320, 240},  {384, 288},
                                                 {640, 480}, {640, 512}, {1024, 768}, {1280, 1024}};
    return sizes;
}

namespace {

std::string frameCount(uint64_t n) { return std::to_string(n) + (n == 1 ? " frame" : " frames"); }

std::string listSizes(const std::vector<FrameSize>& sizes, uint64_t fileBytes) {
    std::string out;
    for (const FrameSize& s : sizes) {
        if (!out.empty()) out += ", ";
        out += s.text();
        if (fileBytes % s.frameBytes() == 0) out += " (" + frameCount(fileBytes / s.frameBytes()) + ")";
    }
    return out;
}

}  // namespace

FileLayout inferLayout(const std::string& name, uint64_t fileBytes, const std::optional<FrameSize>& given) {
    std::vector<FrameSize> fitting;
    for (const FrameSize& s : commonSizes()) {
        if (fileBytes != 0 && fileBytes % s.frameBytes() == 0) fitting.push_back(s);
    }
    const std::string head = name + ": " + std::to_string(fileBytes) + " bytes";
    if (given) {
        const uint64_t each = given->frameBytes();
        if (fileBytes != 0 && fileBytes % each == 0) return FileLayout{*given, fileBytes / each};
        std::string msg = head + " is not a whole number of " + given->text() + " frames (" +
                          std::to_string(each) + " bytes each with the block)";
        msg += fitting.empty() ? "; no common sensor size fits either"
                               : "; sizes that fit: " + listSizes(fitting, fileBytes);
        throw Failure(msg);
    }
    if (fitting.size() == 1) return FileLayout{fitting[0], fileBytes / fitting[0].frameBytes()};
    if (fitting.empty()) {
        throw Failure(head + " fits none of the common sensor sizes (" + listSizes(commonSizes(), fileBytes) +
                      ", each frame with its 512-byte block); give --size WxH");
    }
    throw Failure(head + " fits " + std::to_string(fitting.size()) +
                  " sizes: " + listSizes(fitting, fileBytes) + "; give --size WxH");
}

double rowMismatch(const uint16_t* pixels, const FrameSize& size) {
    const uint64_t w = static_cast<uint64_t>(size.width);
    const uint64_t below = size.pixels() - w;
    if (size.height < 2) return 0.0;
    // A sample of a few thousand pixels is plenty and keeps this free.
    const uint64_t step = below / 4096 + 1;
    double sum = 0.0;
    uint64_t n = 0;
    for (uint64_t i = 0; i < below; i += step, ++n) {
        sum += std::abs(static_cast<int32_t>(pixels[i]) - static_cast<int32_t>(pixels[i + w]));
    }
    return n ? sum / static_cast<double>(n) : 0.0;
}

}  // namespace kalviro::cli

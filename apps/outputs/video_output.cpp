// Video: every frame rendered as the PNG shows it, encoded in frame order
// through FFmpeg's libraries. .mp4 and .mkv hold H.264 (x264), .webm VP8,
// .gif the picture on a 256-colour table built from the palette. The
// trailer is written when the run ends, a stream's end or Ctrl-C included,
// so the file plays.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>

#include "failure.hpp"
#include "output_names.hpp"
#include "outputs.hpp"

namespace kalviro::cli {

namespace {

struct Container {
    const char* extension;
    const char* muxer;
    // Encoders by preference: the first the library was built with is used.
    const char* encoders[3];
};

const Container kContainers[] = {
    {"mp4", "mp4", {"libx264", "h264", "mpeg4"}},
    {"mkv", "matroska", {"libx264", "h264", "mpeg4"}},
    {"webm", "webm", {"libvpx", "libvpx-vp9", nullptr}},
    {"gif", "gif", {"gif", nullptr, nullptr}},
};

const Container* findContainer(const std::string& ext) {
    for (const Container& c : kContainers) {
        if (ext == c.extension) return &c;
    }
    return nullptr;
}

std::string averror(int code) {
    char buf[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, buf, sizeof buf);
    return buf;
}

// Colours to the 256 entries a GIF frame may use: the palette thinned to 240
// entries (neighbours differ by less than a step of the scale), then the
// panel, labels, markers and whatever else the picture holds, each given a
// free entry when it first appears, or the nearest entry once none is free.
class ColourTable {
public:
    explicit ColourTable(const Palette& pal) {
        for (size_t i = 0; i < kThinned; ++i) {
            const Rgb c = pal[i * 255 / (kThinned - 1)];
            entries_[i] = pack(c);
            index_.emplace(pack(c), static_cast<uint8_t>(i));
        }
        used_ = kThinned;
        for (size_t i = 0; i < pal.size(); ++i) index_.emplace(pack(pal[i]), nearest(pack(pal[i])));
    }

    uint8_t operator()(const uint8_t* rgb) {
        const uint32_t c = static_cast<uint32_t>(rgb[0]) << 16 | static_cast<uint32_t>(rgb[1]) << 8 | rgb[2];
        const auto it = index_.find(c);
        if (it != index_.end()) return it->second;
        uint8_t k = 0;
        if (used_ < entries_.size()) {
            k = static_cast<uint8_t>(used_++);
            entries_[k] = c;
        } else {
            k = nearest(c);
        }
        index_.emplace(c, k);
        return k;
    }

    // As FFmpeg's paletted frames want them: 0xAARRGGBB in native order.
    void copyTo(uint8_t* data) const {
        for (size_t i = 0; i < entries_.size(); ++i) {
            const uint32_t argb = 0xff000000u | entries_[i];
            std::memcpy(data + 4 * i, &argb, 4);
        }
    }

private:
    static constexpr size_t kThinned = 240;

    static uint32_t pack(Rgb c) {
        return static_cast<uint32_t>(c.r) << 16 | static_cast<uint32_t>(c.g) << 8 | c.b;
    }

    uint8_t nearest(uint32_t c) const {
        const auto channel = [](uint32_t v, int shift) { return static_cast<int32_t>(v >> shift & 0xff); };
        int32_t best = INT32_MAX;
        uint8_t k = 0;
        for (size_t i = 0; i < used_; ++i) {
            int32_t d = 0;
            for (int shift : {16, 8, 0}) {
                const int32_t e = channel(c, shift) - channel(entries_[i], shift);
                d += e * e;
            }
            if (d < best) {
                best = d;
                k = static_cast<uint8_t>(i);
            }
        }
        return k;
    }

    std::array<uint32_t, 256> entries_{};
    size_t used_ = 0;
    std::unordered_map<uint32_t, uint8_t> index_;
};

class VideoOutput : public Output {
public:
    VideoOutput(std::string target, const Container& container, const RunInfo& run, const PngOptions& png,
                PendingFiles& files)
        : target_(std::move(target)), container_(container), run_(run), png_(png) {
        // x264 and the muxers report on standard error through av_log: the
        // command prints its own one line.
        av_log_set_level(AV_LOG_QUIET);
        for (const char* name : container.encoders) {
            if (name != nullptr && (codec_ = avcodec_find_encoder_by_name(name)) != nullptr) break;
        }
        if (codec_ == nullptr) {
            throw Failure("cannot write " + target_ + ": this FFmpeg has no encoder for ." +
                          container.extension);
        }
        temp_ = files.create(target_);
    }

    ~VideoOutput() override {
        if (format_ != nullptr && format_->pb != nullptr) avio_closep(&format_->pb);
        avformat_free_context(format_);
        avcodec_free_context(&codec_context_);
        av_frame_free(&picture_);
        av_packet_free(&packet_);
        sws_freeContext(scaler_);
    }

    bool perFrame() const override { return false; }

    void frame(const FrameResult& r) override {
        const Rendered rendered = renderFrame(r, run_, png_);
        const Canvas& c = rendered.canvas;
        if (codec_context_ == nullptr) open(c.width, c.height);
        check(av_frame_make_writable(picture_));
        if (picture_->format == AV_PIX_FMT_PAL8) {
            for (int32_t y = 0; y < c.height; ++y) {
                const uint8_t* in = &c.rgb[static_cast<size_t>(y) * static_cast<size_t>(c.width) * 3];
                uint8_t* out = picture_->data[0] + static_cast<ptrdiff_t>(y) * picture_->linesize[0];
                for (int32_t x = 0; x < c.width; ++x) out[x] = (*colours_)(in + 3 * x);
            }
            colours_->copyTo(picture_->data[1]);
        } else {
            // Even sides for 4:2:0: the last column and row repeat.
            const int32_t w = codec_context_->width, h = codec_context_->height;
            padded_.resize(static_cast<size_t>(w) * static_cast<size_t>(h) * 3);
            for (int32_t y = 0; y < h; ++y) {
                const uint8_t* in =
                    &c.rgb[static_cast<size_t>(std::min(y, c.height - 1)) * static_cast<size_t>(c.width) * 3];
                uint8_t* out = &padded_[static_cast<size_t>(y) * static_cast<size_t>(w) * 3];
                std::memcpy(out, in, static_cast<size_t>(c.width) * 3);
                if (w > c.width) std::memcpy(out + 3 * c.width, out + 3 * (c.width - 1), 3);
            }
            const uint8_t* planes[1] = {padded_.data()};
            const int strides[1] = {3 * w};
            sws_scale(scaler_, planes, strides, 0, h, picture_->data, picture_->linesize);
        }
        picture_->pts = frames_++;
        encode(picture_);
    }

    void finish() override {
        if (codec_context_ == nullptr) return;
        encode(nullptr);
        check(av_write_trailer(format_));
        if (!(format_->oformat->flags & AVFMT_NOFILE)) check(avio_closep(&format_->pb));
    }

private:
    void check(int code) const {
        if (code < 0) throw Failure("cannot write " + target_ + ": " + averror(code));
    }

    void open(int32_t width, int32_t height) {
        const bool gif = codec_->id == AV_CODEC_ID_GIF;
        check(avformat_alloc_output_context2(&format_, nullptr, container_.muxer, temp_.c_str()));
        AVStream* stream = avformat_new_stream(format_, nullptr);
        codec_context_ = avcodec_alloc_context3(codec_);
        picture_ = av_frame_alloc();
        packet_ = av_packet_alloc();
        if (stream == nullptr || codec_context_ == nullptr || picture_ == nullptr || packet_ == nullptr) {
            throw std::bad_alloc();
        }
        const AVRational rate = av_d2q(png_.fps, 100000);
        codec_context_->width = gif ? width : (width + 1) & ~1;
        codec_context_->height = gif ? height : (height + 1) & ~1;
        codec_context_->time_base = av_inv_q(rate);
        codec_context_->framerate = rate;
        codec_context_->pix_fmt = gif ? AV_PIX_FMT_PAL8 : AV_PIX_FMT_YUV420P;
        if (format_->oformat->flags & AVFMT_GLOBALHEADER)
            codec_context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        AVDictionary* options = nullptr;
        const std::string name = codec_->name;
        if (name == "libx264") {
            // veryfast: a sequence encodes well above camera rate on two
            // cores; crf 18 leaves the false colours and labels crisp.
            av_dict_set(&options, "preset", "veryfast", 0);
            av_dict_set(&options, "crf", "18", 0);
        } else if (name == "libvpx" || name == "libvpx-vp9") {
            av_dict_set(&options, "deadline", "realtime", 0);
            av_dict_set(&options, "cpu-used", "8", 0);
            av_dict_set(&options, "crf", "10", 0);
            codec_context_->bit_rate = 8'000'000;
        } else if (!gif) {
            codec_context_->bit_rate = 8'000'000;
        }
        const int opened = avcodec_open2(codec_context_, codec_, &options);
        av_dict_free(&options);
        check(opened);
        check(avcodec_parameters_from_context(stream->codecpar, codec_context_));
        stream->time_base = codec_context_->time_base;
        stream->avg_frame_rate = rate;
        stream_ = stream;
        if (!(format_->oformat->flags & AVFMT_NOFILE))
            check(avio_open(&format_->pb, temp_.c_str(), AVIO_FLAG_WRITE));
        check(avformat_write_header(format_, nullptr));
        picture_->format = codec_context_->pix_fmt;
        picture_->width = codec_context_->width;
        picture_->height = codec_context_->height;
        check(av_frame_get_buffer(picture_, 0));
        if (gif) {
            colours_ = std::make_unique<ColourTable>(*png_.palette);
        } else {
            scaler_ = sws_getContext(codec_context_->width, codec_context_->height, AV_PIX_FMT_RGB24,
                                     codec_context_->width, codec_context_->height, AV_PIX_FMT_YUV420P,
                                     SWS_BILINEAR, nullptr, nullptr, nullptr);
            if (scaler_ == nullptr) throw Failure("cannot write " + target_ + ": no RGB to YUV conversion");
        }
    }

    // Sends a picture (none: the end) and writes every packet it gives.
    void encode(const AVFrame* picture) {
        check(avcodec_send_frame(codec_context_, picture));
        for (;;) {
            const int got = avcodec_receive_packet(codec_context_, packet_);
            if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
            check(got);
            av_packet_rescale_ts(packet_, codec_context_->time_base, stream_->time_base);
            packet_->stream_index = stream_->index;
            check(av_interleaved_write_frame(format_, packet_));
        }
    }

    std::string target_;
    const Container& container_;
    const RunInfo& run_;
    PngOptions png_;
    std::string temp_;
    const AVCodec* codec_ = nullptr;
    AVFormatContext* format_ = nullptr;
    AVCodecContext* codec_context_ = nullptr;
    AVStream* stream_ = nullptr;
    AVFrame* picture_ = nullptr;
    AVPacket* packet_ = nullptr;
    SwsContext* scaler_ = nullptr;
    std::unique_ptr<ColourTable> colours_;
    std::vector<uint8_t> padded_;
    int64_t frames_ = 0;
};

}  // namespace

bool isVideoExtension(const std::string& ext) { return findContainer(ext) != nullptr; }

std::unique_ptr<Output> makeVideoOutput(const std::string& target, const RunInfo& run, const PngOptions& png,
                                        PendingFiles& files) {
    const Container* c = findContainer(extensionOf(target));
    if (c == nullptr) throw Failure("cannot tell the video format of " + target);
    return std::make_unique<VideoOutput>(target, *c, run, png, files);
}

}  // namespace kalviro::cli

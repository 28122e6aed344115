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
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "frames/failure.hpp"
#include "outputs/output_names.hpp"
#include "outputs/outputs.hpp"
#include "outputs/picture.hpp"

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

// Colours to the 256 entries a GIF frame may use, fixed for the whole video:
// the palette thinned to 240 entries (neighbours differ by less than a step
// of the scale), then every colour drawn over it. Each palette colour maps
// to its nearest entry, found once; a colour outside both (none today) to
// its nearest entry, found when met. Read only once built, so workers share
// it.
class ColourTable {
public:
    explicit ColourTable(const Palette& pal) {
        for (size_t i = 0; i < kThinned; ++i) add(pack(pal[i * 255 / (kThinned - 1)]));
        for (Rgb c : kDrawnColours) add(pack(c));
        for (const Rgb& c : pal) {
            const uint32_t k = pack(c);
            if (slot(k) == kEmpty) put(k, nearest(k));
        }
    }

    uint8_t operator()(const uint8_t* rgb) const {
        const uint32_t c = static_cast<uint32_t>(rgb[0]) << 16 | static_cast<uint32_t>(rgb[1]) << 8 | rgb[2];
        const uint32_t at = slot(c);
        return at != kEmpty ? static_cast<uint8_t>(at) : nearest(c);
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
    static constexpr uint32_t kEmpty = 0xffffffffu;
    // Open addressing over a power of two well above the ~500 keys.
    static constexpr size_t kSlots = 2048;

    static uint32_t pack(Rgb c) {
        return static_cast<uint32_t>(c.r) << 16 | static_cast<uint32_t>(c.g) << 8 | c.b;
    }

    static size_t home(uint32_t c) { return (c * 2654435761u) >> 21; }

    // The entry of colour c, or kEmpty.
    uint32_t slot(uint32_t c) const {
        for (size_t i = home(c);; i = (i + 1) & (kSlots - 1)) {
            if (keys_[i] == kEmpty) return kEmpty;
            if (keys_[i] == c) return values_[i];
        }
    }

    void put(uint32_t c, uint8_t entry) {
        size_t i = home(c);
        while (keys_[i] != kEmpty && keys_[i] != c) i = (i + 1) & (kSlots - 1);
        keys_[i] = c;
        values_[i] = entry;
    }

    void add(uint32_t c) {
        if (slot(c) != kEmpty) return;
        entries_[used_] = c;
        put(c, static_cast<uint8_t>(used_++));
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
    std::array<uint32_t, kSlots> keys_ = filled();
    std::array<uint32_t, kSlots> values_{};

    static std::array<uint32_t, kSlots> filled() {
        std::array<uint32_t, kSlots> a;
        a.fill(kEmpty);
        return a;
    }
};

struct FreeFrame {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct FreeScaler {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};
using FramePtr = std::unique_ptr<AVFrame, FreeFrame>;
using ScalerPtr = std::unique_ptr<SwsContext, FreeScaler>;

// Rendering and the conversion to the encoder's pixels run in the worker
// that converted the frame (prepare), many frames at a time; the encoder
// takes the pictures one at a time in frame order (frame).
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
        av_packet_free(&packet_);
    }

    bool perFrame() const override { return false; }

    void prepare(const FrameResult& r) override {
        const Rendered rendered = renderFrame(r, run_, png_);
        const Canvas& c = rendered.canvas;
        openOnce(c.width, c.height);
        FramePtr picture = take(spare_);
        if (!picture) picture = newPicture();
        check(av_frame_make_writable(picture.get()));
        if (picture->format == AV_PIX_FMT_PAL8) {
            for (int32_t y = 0; y < c.height; ++y) {
                const uint8_t* in = &c.rgb[static_cast<size_t>(y) * static_cast<size_t>(c.width) * 3];
                uint8_t* out = picture->data[0] + static_cast<ptrdiff_t>(y) * picture->linesize[0];
                // Neighbours mostly share a colour: a run costs one look-up.
                uint8_t entry = (*colours_)(in);
                for (int32_t x = 0; x < c.width; ++x) {
                    const uint8_t* p = in + 3 * x;
                    if (x != 0 && (p[0] != p[-3] || p[1] != p[-2] || p[2] != p[-1])) entry = (*colours_)(p);
                    out[x] = entry;
                }
            }
            colours_->copyTo(picture->data[1]);
        } else {
            toYuv(c, *picture);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        ready_.emplace(r.index, std::move(picture));
    }

    void frame(const FrameResult& r) override {
        FramePtr picture = takeReady(r.index);
        if (!picture) {
            prepare(r);
            picture = takeReady(r.index);
        }
        picture->pts = frames_++;
        encode(picture.get());
        std::lock_guard<std::mutex> lock(mutex_);
        spare_.push_back(std::move(picture));
    }

    void finish() override {
        if (!opened_) return;
        encode(nullptr);
        check(av_write_trailer(format_));
        if (!(format_->oformat->flags & AVFMT_NOFILE)) check(avio_closep(&format_->pb));
    }

private:
    void check(int code) const {
        if (code < 0) throw Failure("cannot write " + target_ + ": " + averror(code));
    }

    template <typename T>
    T take(std::vector<T>& pool) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (pool.empty()) return T{};
        T v = std::move(pool.back());
        pool.pop_back();
        return v;
    }

    FramePtr takeReady(uint64_t index) {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto it = ready_.find(index);
        if (it == ready_.end()) return nullptr;
        FramePtr picture = std::move(it->second);
        ready_.erase(it);
        return picture;
    }

    FramePtr newPicture() const {
        FramePtr picture(av_frame_alloc());
        if (!picture) throw std::bad_alloc();
        picture->format = codec_context_->pix_fmt;
        picture->width = codec_context_->width;
        picture->height = codec_context_->height;
        check(av_frame_get_buffer(picture.get(), 0));
        return picture;
    }

    // The canvas in 4:2:0, its sides made even by repeating the last column
    // and row. It goes through BGR: libswscale converts BGR to 4:2:0 without
    // its scaler, several times faster than RGB.
    void toYuv(const Canvas& c, AVFrame& picture) {
        const int32_t w = codec_context_->width, h = codec_context_->height;
        std::vector<uint8_t> bgr = take(bgrs_);
        bgr.resize(static_cast<size_t>(w) * static_cast<size_t>(h) * 3);
        for (int32_t y = 0; y < h; ++y) {
            const uint8_t* in =
                &c.rgb[static_cast<size_t>(std::min(y, c.height - 1)) * static_cast<size_t>(c.width) * 3];
            uint8_t* out = &bgr[static_cast<size_t>(y) * static_cast<size_t>(w) * 3];
            for (int32_t x = 0; x < c.width; ++x, in += 3, out += 3) {
                out[0] = in[2];
                out[1] = in[1];
                out[2] = in[0];
            }
            if (w > c.width) std::memcpy(out, out - 3, 3);
        }
        const uint8_t* planes[1] = {bgr.data()};
        const int strides[1] = {3 * w};
        // A scaler keeps state: each worker takes one of its own.
        ScalerPtr scaler = take(scalers_);
        if (!scaler) {
            scaler.reset(sws_getContext(w, h, AV_PIX_FMT_BGR24, w, h, AV_PIX_FMT_YUV420P, SWS_BILINEAR,
                                        nullptr, nullptr, nullptr));
            if (!scaler) throw Failure("cannot write " + target_ + ": no RGB to YUV conversion");
        }
        sws_scale(scaler.get(), planes, strides, 0, h, picture.data, picture.linesize);
        std::lock_guard<std::mutex> lock(mutex_);
        scalers_.push_back(std::move(scaler));
        bgrs_.push_back(std::move(bgr));
    }

    // The encoder and the file, at the first frame: its picture's size is
    // the video's.
    void openOnce(int32_t width, int32_t height) {
        std::lock_guard<std::mutex> lock(open_);
        if (!opened_) open(width, height);
    }

    void open(int32_t width, int32_t height) {
        const bool gif = codec_->id == AV_CODEC_ID_GIF;
        check(avformat_alloc_output_context2(&format_, nullptr, container_.muxer, temp_.c_str()));
        AVStream* stream = avformat_new_stream(format_, nullptr);
        codec_context_ = avcodec_alloc_context3(codec_);
        packet_ = av_packet_alloc();
        if (stream == nullptr || codec_context_ == nullptr || packet_ == nullptr) throw std::bad_alloc();
        AVCodecContext* context = codec_context_;
        const AVRational rate = av_d2q(png_.fps, 100000);
        context->width = gif ? width : (width + 1) & ~1;
        context->height = gif ? height : (height + 1) & ~1;
        context->time_base = av_inv_q(rate);
        context->framerate = rate;
        context->pix_fmt = gif ? AV_PIX_FMT_PAL8 : AV_PIX_FMT_YUV420P;
        if (format_->oformat->flags & AVFMT_GLOBALHEADER) context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
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
            context->bit_rate = 8'000'000;
        } else if (!gif) {
            context->bit_rate = 8'000'000;
        }
        const int opened = avcodec_open2(context, codec_, &options);
        av_dict_free(&options);
        check(opened);
        check(avcodec_parameters_from_context(stream->codecpar, context));
        stream->time_base = context->time_base;
        stream->avg_frame_rate = rate;
        stream_ = stream;
        if (!(format_->oformat->flags & AVFMT_NOFILE))
            check(avio_open(&format_->pb, temp_.c_str(), AVIO_FLAG_WRITE));
        check(avformat_write_header(format_, nullptr));
        if (gif) colours_ = std::make_unique<const ColourTable>(*png_.palette);
        opened_ = true;
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
    std::mutex open_;
    bool opened_ = false;  // the file's header is written
    AVFormatContext* format_ = nullptr;
    AVCodecContext* codec_context_ = nullptr;
    AVStream* stream_ = nullptr;
    AVPacket* packet_ = nullptr;
    std::unique_ptr<const ColourTable> colours_;
    int64_t frames_ = 0;
    // Pictures and scalers the workers share.
    std::mutex mutex_;
    std::map<uint64_t, FramePtr> ready_;  // prepared, waiting for their turn
    std::vector<FramePtr> spare_;         // encoded, to be filled again
    std::vector<ScalerPtr> scalers_;
    std::vector<std::vector<uint8_t>> bgrs_;
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

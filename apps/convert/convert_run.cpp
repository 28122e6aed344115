#include "convert/convert_run.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <exception>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

#include "analysis/region_emissivity.hpp"
#include "convert/progress.hpp"
#include "frames/failure.hpp"
#include "frames/le_bytes.hpp"

namespace kalviro::cli {

FrameRange parseFrameRange(const std::string& text) {
    const auto number = [&](const std::string& part) -> uint64_t {
        if (part.empty() || part.size() > 12 || part.find_first_not_of("0123456789") != std::string::npos) {
            throw Failure("bad frame range '" + text + "': expected A:B, A:, :B or K");
        }
        return std::strtoull(part.c_str(), nullptr, 10);
    };
    FrameRange r;
    const size_t colon = text.find(':');
    if (colon == std::string::npos) {
        r.first = number(text);
        r.end = r.first + 1;
        return r;
    }
    if (colon > 0) r.first = number(text.substr(0, colon));
    if (colon + 1 < text.size()) r.end = number(text.substr(colon + 1));
    if (r.end && *r.end <= r.first) throw Failure("frame range '" + text + "' holds no frame");
    return r;
}

void overrideDistance(TempFrameInfo& block, double metres) {
    uint8_t* bytes = reinterpret_cast<uint8_t*>(&block);
    storeI32(bytes + offsetof(TempFrameInfo, distance), static_cast<int32_t>(std::lround(metres * 100.0)));
}

namespace {

// One frame after its per-frame call, with the state that call left.
struct Job {
    uint64_t index;
    std::vector<uint16_t> pixels;
    uint16_t centreGray;
    float perFrame;
    TempFrameInfo settings;  // as read
    TempFrameInfo block;     // as the per-frame call left it
    Camera camera;
    std::vector<EmissivityFrame> others;  // regions' own emissivities
};

class Pipeline {
public:
    Pipeline(const RunInfo& run, uint64_t first, std::optional<uint64_t> total, unsigned threads, bool quiet,
             const std::vector<std::unique_ptr<Output>>& outputs)
        : run_(run), outputs_(outputs), next_(first), progress_(total, quiet) {
        summary_.first = first;
        summary_.threads = threads;
        summary_.regions.resize(run.regions.size());
        for (const auto& out : outputs) histograms_ = histograms_ || out->histograms();
        if (threads > 1) {
            // A thread the system refuses means fewer workers; none, a serial run.
            try {
                for (unsigned i = 0; i < threads; ++i) workers_.emplace_back([this] { work(); });
            } catch (const std::system_error&) {
            }
            summary_.threads = std::max<unsigned>(1, static_cast<unsigned>(workers_.size()));
        }
        // Results wait for their turn: a few per worker keep every worker busy
        // and memory bounded.
        limit_ = workers_.size() <= 1 ? 1 : 3 * workers_.size();
    }

    ~Pipeline() { stop(); }

    // Hands a frame on; serial runs convert it at once.
    void submit(Job&& job) {
        if (workers_.empty()) {
            deliver(convert(job, *serialTable(), serialOthers_));
            return;
        }
        std::unique_lock<std::mutex> lock(mutex_);
        space_.wait(lock, [&] { return inFlight_ < limit_ || error_; });
        if (error_) return;
        jobs_.push_back(std::move(job));
        ++inFlight_;
        ready_.notify_one();
    }

    ConvertSummary finish() {
        stop();
        if (error_) std::rethrow_exception(error_);
        progress_.finish();
        return std::move(summary_);
    }

    // Buffers come back once a frame is done with them: no allocation and no
    // fresh pages per frame.
    std::vector<uint16_t> takePixels() { return take(pixelPool_); }

    // The error a worker met, to stop reading early.
    bool failed() {
        std::lock_guard<std::mutex> lock(mutex_);
        return error_ != nullptr;
    }

private:
    std::unique_ptr<KalviroFrameTable>& serialTable() {
        if (!serial_) serial_ = std::make_unique<KalviroFrameTable>();
        return serial_;
    }

    template <typename T>
    std::vector<T> take(std::vector<std::vector<T>>& pool) {
        std::lock_guard<std::mutex> lock(poolMutex_);
        if (pool.empty()) return {};
        std::vector<T> v = std::move(pool.back());
        pool.pop_back();
        return v;
    }

    template <typename T>
    void giveBack(std::vector<std::vector<T>>& pool, std::vector<T>&& v) {
        std::lock_guard<std::mutex> lock(poolMutex_);
        pool.push_back(std::move(v));
    }

    void stop() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            closing_ = true;
        }
        ready_.notify_all();
        for (std::thread& t : workers_) t.join();
        workers_.clear();
    }

    void work() {
        // Each worker's scratch table for the frames it converts, made at its
        // first frame: a worker that gets none costs no table.
        std::unique_ptr<KalviroFrameTable> table;
        EmissivityTables others;
        for (;;) {
            std::unique_lock<std::mutex> lock(mutex_);
            ready_.wait(lock, [&] { return !jobs_.empty() || closing_; });
            if (jobs_.empty() || error_) return;
            Job job = std::move(jobs_.front());
            jobs_.pop_front();
            lock.unlock();
            try {
                if (!table) table = std::make_unique<KalviroFrameTable>();
                deliver(convert(job, *table, others));
            } catch (...) {
                std::lock_guard<std::mutex> relock(mutex_);
                if (!error_) error_ = std::current_exception();
                space_.notify_all();
                return;
            }
        }
    }

    // Regions of other emissivities convert through tables of their own:
    // each table then keeps its plan from one frame to the next.
    FrameResult convert(Job& job, KalviroFrameTable& table, EmissivityTables& others) {
        FrameResult r;
        r.temps = take(tempPool_);
        r.index = job.index;
        r.centreGray = job.centreGray;
        r.perFrame = job.perFrame;
        r.settings = job.settings;
        r.temps.resize(job.pixels.size());
        const float distance = run_.distance ? static_cast<float>(*run_.distance) : 0.0f;
        job.camera.realFrame(job.pixels.data(), job.pixels.size(), &job.block, run_.emissivity, distance,
                             r.temps.data(), table);
        applyEmissivities(run_, job.pixels.data(), job.pixels.size(), job.others, distance, r.temps.data(),
                          others);
        toUnit(r.temps.data(), r.temps.size(), run_.unit);
        r.grays = std::move(job.pixels);
        const int32_t w = run_.size.width;
        r.whole = regionStats(r.temps.data(), w, wholeFrame(run_.size));
        for (const Region& g : run_.regions) r.regions.push_back(regionStats(r.temps.data(), w, g));
        for (const Spot& s : run_.spots) {
            r.spots.push_back(
                r.temps[static_cast<size_t>(s.y) * static_cast<size_t>(w) + static_cast<size_t>(s.x)]);
        }
        analyseShapes(run_, r, histograms_);
        for (const auto& out : outputs_) {
            if (out->perFrame())
                out->frame(r);
            else
                out->prepare(r);
        }
        return r;
    }

    // Frame-order outputs and the summary, one frame at a time, by one
    // thread at a time: the writer. A worker whose frame is not yet due, or
    // finds a writer at work, leaves the frame to it and converts the next.
    void deliver(FrameResult&& r) {
        {
            std::lock_guard<std::mutex> lock(sinkMutex_);
            pending_.emplace(r.index, std::move(r));
            if (writing_) return;
            writing_ = true;
        }
        for (;;) {
            std::map<uint64_t, FrameResult>::node_type due;
            {
                std::lock_guard<std::mutex> lock(sinkMutex_);
                const auto it = pending_.find(next_);
                if (it == pending_.end()) {
                    writing_ = false;
                    return;
                }
                due = pending_.extract(it);
            }
            for (const auto& out : outputs_) {
                if (!out->perFrame()) out->frame(due.mapped());
            }
            account(due.mapped());
            ++next_;
            progress_.update(summary_.frames);
            if (!workers_.empty()) {
                std::lock_guard<std::mutex> lock(mutex_);
                --inFlight_;
                space_.notify_all();
            }
        }
    }

    static void add(RegionSummary& a, const Stats& s) {
        if (s.count == 0) return;
        if (a.frames == 0 || s.min < a.min) a.min = s.min;
        if (a.frames == 0 || s.max > a.max) a.max = s.max;
        a.meanOfMeans += (s.mean - a.meanOfMeans) / static_cast<double>(a.frames + 1);
        ++a.frames;
    }

    void account(FrameResult& r) {
        if (r.whole.count != 0) {
            if (summary_.whole.frames == 0 || r.whole.min < summary_.whole.min) {
                summary_.coldest = r.whole.coldest;
                summary_.coldestFrame = r.index;
            }
            if (summary_.whole.frames == 0 || r.whole.max > summary_.whole.max) {
                summary_.hottest = r.whole.hottest;
                summary_.hottestFrame = r.index;
            }
        }
        add(summary_.whole, r.whole);
        for (size_t i = 0; i < r.regions.size(); ++i) add(summary_.regions[i], r.regions[i]);
        ++summary_.frames;
        giveBack(tempPool_, std::move(r.temps));
        giveBack(pixelPool_, std::move(r.grays));
        summary_.last = std::move(r);
    }

    const RunInfo& run_;
    const std::vector<std::unique_ptr<Output>>& outputs_;
    bool histograms_ = false;  // some output reports them
    std::mutex mutex_;
    std::condition_variable ready_, space_;
    std::deque<Job> jobs_;
    size_t inFlight_ = 0, limit_ = 1;
    bool closing_ = false;
    std::exception_ptr error_;
    std::vector<std::thread> workers_;
    std::unique_ptr<KalviroFrameTable> serial_;
    EmissivityTables serialOthers_;
    std::mutex poolMutex_;
    std::vector<std::vector<uint16_t>> pixelPool_;
    std::vector<std::vector<float>> tempPool_;

    std::mutex sinkMutex_;
    std::map<uint64_t, FrameResult> pending_;
    bool writing_ = false;
    uint64_t next_;
    ConvertSummary summary_;
    Progress progress_;
};

}  // namespace

ConvertSummary convertFrames(FrameSource& source, const RunInfo& run, const FrameRange& range,
                             unsigned threads, bool quiet,
                             const std::vector<std::unique_ptr<Output>>& outputs) {
    const auto start = std::chrono::steady_clock::now();
    std::optional<uint64_t> end = range.end;
    if (source.frameCount()) {
        if (range.first >= *source.frameCount()) {
            throw Failure(source.name() + " holds " + std::to_string(*source.frameCount()) +
                          " frame(s); frame " + std::to_string(range.first) + " is not among them");
        }
        end = std::min(end.value_or(*source.frameCount()), *source.frameCount());
    }
    std::optional<uint64_t> total;
    if (end) total = *end - range.first;
    Pipeline pipeline(run, range.first, total, threads, quiet, outputs);
    Camera camera(run.calType.calType);
    EmissivityCameras others(run);
    const float distance = run.distance ? static_cast<float>(*run.distance) : 0.0f;
    Frame frame;
    // Every frame from the first one on gets its per-frame call, in order;
    // those before the range only that.
    for (uint64_t i = 0; !end || i < *end; ++i) {
        if (pipeline.failed()) break;
        const bool chosen = i >= range.first;
        if (chosen && frame.pixels.empty()) frame.pixels = pipeline.takePixels();
        if (!source.next(frame, chosen)) break;
        applySettings(frame.block, run.settings);
        TempFrameInfo block = frame.block;
        if (run.distance) overrideDistance(block, *run.distance);
        std::vector<EmissivityFrame> otherFrames = others.perFrame(block, frame.centreGray, distance);
        const float perFrame = camera.init(frame.centreGray, &block, run.emissivity, distance);
        if (!chosen) continue;
        pipeline.submit(Job{frame.index, std::move(frame.pixels), frame.centreGray, perFrame, frame.block,
                            block, camera, std::move(otherFrames)});
    }
    ConvertSummary summary = pipeline.finish();
    if (summary.frames == 0) {
        if (source.partialBytes() != 0) {
            throw Failure(source.name() + " ended inside its first frame, after " +
                          std::to_string(source.partialBytes()) + " of " +
                          std::to_string(run.size.frameBytes()) + " bytes: no whole frame to convert");
        }
        throw Failure(source.name() + " holds no frame " + std::to_string(range.first) + " to convert");
    }
    summary.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return summary;
}

}  // namespace kalviro::cli

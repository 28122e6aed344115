// Speed of the calls kalviro_frame_bench leaves out: a whole 640x512 frame
// through the dispatching per-pixel entry, and the inverse search. Whole
// frames per CalType, the per-pixel pointer and the per-frame call are
// measured there.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <vector>

#include "kalviro.h"
#include "sample_block.h"

namespace {

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 512;
constexpr float kEmissivity = 0.95f;

// A gray ramp across the frame that stays inside the sample curve.
const std::vector<int32_t>& frameGrays() {
    static const std::vector<int32_t> grays = [] {
        std::vector<int32_t> g(static_cast<size_t>(kWidth) * kHeight);
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) g[static_cast<size_t>(y * kWidth + x)] = 500 + 3 * (x + y);
        }
        return g;
    }();
    return grays;
}

// The sample block, with what the long layout reads besides: the two extra
// curve points of its 14-row table and a 90 percent window.
struct BenchBlock {
    std::array<uint8_t, 512> bytes{};
    explicit BenchBlock(int32_t calType) {
        fill_worked_block(bytes.data());
        if (calType == 54) {
            put_f32(bytes.data(), offsetof(TempFrameInfo, grayCurveExt), 13900.0f);
            put_f32(bytes.data(), offsetof(TempFrameInfo, grayCurveExt) + 4, 16100.0f);
            put_i32(bytes.data(), offsetof(TempFrameInfo, envTemp), 90);  // windowTransLong
        }
    }
    TempFrameInfo* info() { return reinterpret_cast<TempFrameInfo*>(bytes.data()); }
};

const char* label(int32_t calType) {
    switch (calType) {
        case 21: return "CalType 21, emissivity polynomial";
        case 20: return "CalType 20, Esp_Table";
        case 54: return "CalType 54, long layout with window";
        case 81: return "CalType 81, emissivity ladder";
        default: return "";
    }
}

// The frame through KALVIRO_Gray2Temp_Real: the table search on every pixel.
void BM_FrameThroughDispatch(benchmark::State& state) {
    const auto calType = static_cast<int32_t>(state.range(0));
    BenchBlock block(calType);
    const std::vector<int32_t>& grays = frameGrays();
    KALVIRO_Gray2Temp_Init(calType, grays[grays.size() / 2], block.info(), kEmissivity, 0.0f);
    for (auto _ : state) {
        float sum = 0.0f;
        for (int32_t g : grays) sum += KALVIRO_Gray2Temp_Real(calType, g, block.info(), kEmissivity, 0.0f);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(grays.size()));
    state.SetLabel(label(calType));
}
BENCHMARK(BM_FrameThroughDispatch)->Arg(21)->Arg(54)->Unit(benchmark::kMillisecond);

// The gray of 53.88 degrees between 0 and 150 degrees on a 14-bit scale.
void BM_Temp2Gray(benchmark::State& state) {
    const auto calType = static_cast<int32_t>(state.range(0));
    BenchBlock block(calType);
    KALVIRO_Gray2Temp_Init(calType, 1000, block.info(), kEmissivity, 0.0f);
    const Gray2TempFn real = KALVIRO_Gray2Temp_Real_GET(calType);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            KALVIRO_Temp2Gray(real, block.info(), 0, 15000, 0, 16383, 5388, kEmissivity));
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel(label(calType));
}
BENCHMARK(BM_Temp2Gray)->Arg(21)->Arg(20)->Arg(54)->Arg(81);

}  // namespace

BENCHMARK_MAIN();

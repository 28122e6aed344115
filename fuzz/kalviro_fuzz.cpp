// Arbitrary bytes against every entry: whatever a camera or a broken cable
// delivers, each call returns a number, writes only what it may write, and
// ends. AddressSanitizer and UndefinedBehaviorSanitizer (float casts and
// signed overflow included) stop at the first report; the checks below stop
// at the first broken promise.
//
// An input, little-endian, zero-padded when short:
//   0    u8      CalType: below 59 a position in the list, else the int32 at 44
//   1    u8      flags, kFlag... below; the top two bits pick the vector set
//   2    u16     bytes of image in front of the block (odd: the block sits at
//                an odd address), at most kMaxImage
//   4    i32     gray
//   8    u32     emissivity, float bits: NaN, infinities, subnormals as they come
//   12   u32     distance, float bits
//   16   i32[5]  inverse search: tempMin, tempMax, grayMin, grayMax, target
//   36   u64     a frame size offered to Temperature_GetFrameInfo as it stands
//   44   i32     CalType, when byte 0 is 59 or more
//   48   512     the block
//   560  u16[]   pixels of the whole-frame call, at most kMaxPixels
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "api/module.hpp"
#include "api/stored_plan.hpp"
#include "kalviro.h"
#include "kalviro.hpp"

namespace {

constexpr size_t kHeader = 48;
constexpr size_t kBlockAt = kHeader;
constexpr size_t kPixelsAt = kBlockAt + 512;
constexpr size_t kMaxPixels = 64;
constexpr size_t kMaxImage = 4096;

constexpr uint8_t kFlagOnce = 1;         // per-frame call through KALVIRO_Gray2Temp_Once
constexpr uint8_t kFlagFromGray = 2;     // ... through Temperature_GetTempFromGray
constexpr uint8_t kFlagNoFrameCall = 4;  // per-pixel calls on the statics as they stand
constexpr uint8_t kFlagInverseInit = 8;  // inverse search over the per-frame function too
constexpr uint8_t kFlagCamera = 16;      // the same calls on a kalviro::Camera
constexpr uint8_t kFlagOwnExport = 32;   // through the CalType's own _NN exports and stages
constexpr int kLanesShift = 6;           // the top two bits pick a runnable vector set

#define FUZZ_CHECK(cond, ...)                                     \
    do {                                                          \
        if (!(cond)) {                                            \
            std::fprintf(stderr, "broken promise: " __VA_ARGS__); \
            std::fprintf(stderr, " (%s)\n", #cond);               \
            std::abort();                                         \
        }                                                         \
    } while (0)

uint32_t le32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

// The same bits as another type of the same width: floats compared bit for
// bit, NaN patterns included.
template <typename To, typename From>
To bitCast(From v) {
    static_assert(sizeof(To) == sizeof(From), "same width");
    To out;
    std::memcpy(&out, &v, sizeof out);
    return out;
}

uint32_t bitsOf(float f) { return bitCast<uint32_t>(f); }
uint64_t bitsOf(double d) { return bitCast<uint64_t>(d); }

bool oneOf(int32_t calType, std::initializer_list<int32_t> set) {
    for (int32_t c : set) {
        if (c == calType) return true;
    }
    return false;
}

// The words a per-frame call of a CalType may store into the caller's block,
// told here apart from the library's own list so that the two must agree.
// Most CalTypes publish the shutter drift they computed, the atmosphere
// constants 4 and 167 and the warm-up shift (only while warmHold is 0, which
// "may" covers). The long-layout CalTypes and 12, 60, 61, 62 take the
// shutter drift from the camera instead; 12, 60, 61, 62 also read the
// atmosphere from the block and keep their shift to themselves.
constexpr uint32_t kShutterDrift = 0x0f4, kAtmA = 0x0fc, kAtmB = 0x100, kWarmShift = 0x128;

bool mayWrite(int32_t calType, uint32_t word) {
    if (KALVIRO_IsAlgSurport(calType) == 0) return false;  // unknown: nothing runs
    const bool ownsDrift = !oneOf(calType, {12, 50, 51, 52, 54, 55, 60, 61, 62, 110, 111, 120, 121});
    const bool ownsAtmosphere = !oneOf(calType, {12, 60, 61, 62});
    if (word == kShutterDrift) return ownsDrift;
    if (word == kAtmA || word == kAtmB || word == kWarmShift) return ownsAtmosphere;
    return false;
}

void checkWrites(int32_t calType, const uint8_t* before, const uint8_t* after, const char* call) {
    if (std::memcmp(before, after, 512) == 0) return;
    for (uint32_t i = 0; i < 512; ++i) {
        if (before[i] != after[i]) {
            FUZZ_CHECK(mayWrite(calType, i & ~3u), "%s of CalType %d wrote block byte 0x%03x", call, calType,
                       i);
        }
    }
}

// A per-frame call that publishes the atmosphere publishes 4 and 167.
void checkPublished(int32_t calType, const uint8_t* after, const char* call) {
    if (!mayWrite(calType, kAtmA)) return;
    FUZZ_CHECK(le32(after + kAtmA) == 4 && le32(after + kAtmB) == 167,
               "%s of CalType %d published atmA %u, atmB %u", call, calType, le32(after + kAtmA),
               le32(after + kAtmB));
}

void checkUnchanged(const uint8_t* before, const uint8_t* after, const char* call, int32_t calType) {
    FUZZ_CHECK(std::memcmp(before, after, 512) == 0, "%s of CalType %d changed the block", call, calType);
}

// The inverse search and the generic whole-frame path see the conversion
// through this counter.
Gray2TempFn gInner = nullptr;
uint32_t gCalls = 0;
bool gNonZeroDistance = false;

float counted(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    ++gCalls;
    return gInner(gray, block, emissivity, distance);
}

float countedZeroDistance(int32_t gray, TempFrameInfo* block, float emissivity, float distance) {
    if (bitsOf(distance) != 0) gNonZeroDistance = true;
    return counted(gray, block, emissivity, distance);
}

KalviroFrameTable gTable;  // kept between inputs as a caller would
KalviroFrameTable gFresh;  // forgotten before each use
float gOut[kMaxPixels];

struct Input {
    int32_t calType;
    uint8_t flags;
    size_t imageBytes;
    int32_t gray;
    float emissivity, distance;
    int32_t tempMin, tempMax, grayMin, grayMax, target;
    uint64_t offeredSize;
    uint8_t block[512];
    uint16_t pixels[kMaxPixels];
    size_t count;
};

Input parse(const uint8_t* data, size_t size) {
    uint8_t head[kPixelsAt] = {};
    std::memcpy(head, data, size < sizeof head ? size : sizeof head);
    Input in{};
    const int32_t raw = static_cast<int32_t>(le32(head + 44));
    in.calType = head[0] < KALVIRO_CALTYPE_COUNT ? kalviro::kCalTypes[head[0]].calType : raw;
    in.flags = head[1];
    in.imageBytes = (static_cast<size_t>(head[2]) | static_cast<size_t>(head[3]) << 8) % (kMaxImage + 1);
    in.gray = static_cast<int32_t>(le32(head + 4));
    in.emissivity = bitCast<float>(le32(head + 8));
    in.distance = bitCast<float>(le32(head + 12));
    in.tempMin = static_cast<int32_t>(le32(head + 16));
    in.tempMax = static_cast<int32_t>(le32(head + 20));
    in.grayMin = static_cast<int32_t>(le32(head + 24));
    in.grayMax = static_cast<int32_t>(le32(head + 28));
    in.target = static_cast<int32_t>(le32(head + 32));
    in.offeredSize = static_cast<uint64_t>(le32(head + 36)) | static_cast<uint64_t>(le32(head + 40)) << 32;
    std::memcpy(in.block, head + kBlockAt, 512);
    const size_t rest = size > kPixelsAt ? (size - kPixelsAt) / 2 : 0;
    in.count = rest < kMaxPixels ? rest : kMaxPixels;
    for (size_t i = 0; i < in.count; ++i) {
        const uint8_t* p = data + kPixelsAt + 2 * i;
        in.pixels[i] = static_cast<uint16_t>(p[0] | p[1] << 8);
    }
    return in;
}

// The frame split, on the real buffer and on a size as it came.
void splitFrame(const Input& in, uint8_t* frame, size_t frameSize) {
    const bool known = KALVIRO_IsAlgSurport(in.calType) != 0;
    uint8_t* image = nullptr;
    uint8_t* info = nullptr;
    uint64_t imageSize = 7, infoSize = 7;
    const int32_t r =
        Temperature_GetFrameInfo(in.calType, frame, frameSize, &image, &imageSize, &info, &infoSize);
    FUZZ_CHECK(r == (known ? 0 : -1), "GetFrameInfo returned %d", r);
    FUZZ_CHECK(image == frame && imageSize == frameSize - 512 && info == frame + in.imageBytes,
               "GetFrameInfo split %zu bytes wrongly", frameSize);
    FUZZ_CHECK(infoSize == (known ? 512u : 7u), "GetFrameInfo infoSize %llu",
               static_cast<unsigned long long>(infoSize));

    // Any size: below 512, or one no buffer at this address can have, is
    // refused with nothing written; otherwise the block is the last 512
    // bytes. Nothing is dereferenced, so the buffer need not be that large.
    const uint64_t offered = in.offeredSize;
    image = info = nullptr;
    imageSize = infoSize = 7;
    const uintptr_t at = reinterpret_cast<uintptr_t>(frame);
    const bool fits = offered >= 512 && offered <= UINTPTR_MAX - at;
    const int32_t r2 =
        Temperature_GetFrameInfo(in.calType, frame, offered, &image, &imageSize, &info, &infoSize);
    FUZZ_CHECK(r2 == (fits && known ? 0 : -1), "GetFrameInfo(%llu) returned %d",
               static_cast<unsigned long long>(offered), r2);
    if (!fits) {
        FUZZ_CHECK(image == nullptr && info == nullptr && imageSize == 7 && infoSize == 7,
                   "a refused size wrote an output");
    } else {
        FUZZ_CHECK(image == frame && imageSize == offered - 512 &&
                       reinterpret_cast<uintptr_t>(info) == at + static_cast<uintptr_t>(offered - 512),
                   "GetFrameInfo(%llu) split wrongly", static_cast<unsigned long long>(offered));
    }
}

// The CalType's row of kalviro_table: its own exported functions.
const CalTypeEntry* rowOf(int32_t calType) {
    for (int32_t i = 0; i < kalviro_table_size; ++i) {
        if (kalviro_table[i].calType == calType) return &kalviro_table[i];
    }
    return nullptr;
}

// 12 and 60 export their two stages in hundredths as well.
using StageFn = int32_t (*)(int32_t, TempFrameInfo*, float, float);
struct Stages {
    StageFn early, realtime;
};
Stages stagesOf(int32_t calType) {
    if (calType == 12) return {Gray2TempEx12_early_init, Gray2TempEx12_realtime};
    if (calType == 60) return {Gray2TempEx60_early_init, Gray2TempEx60_realtime};
    return {nullptr, nullptr};
}

// Through the CalType's own exports: Gray2Temp_Init_NN or _Once_NN, and for
// 12 and 60 first the early stage, which must give the same frame in
// hundredths (they write nothing, so a second call sees the same block).
void ownFrameCall(const Input& in, TempFrameInfo* block, uint8_t* raw, const uint8_t* before) {
    const CalTypeEntry* row = rowOf(in.calType);
    if (row == nullptr) return;
    const Stages stages = stagesOf(in.calType);
    if (stages.early != nullptr) {
        const int32_t early = stages.early(in.gray, block, in.emissivity, in.distance);
        checkWrites(in.calType, before, raw, "the early stage");
        const float init = row->init(in.gray, block, in.emissivity, in.distance);
        FUZZ_CHECK(bitsOf(static_cast<float>(early) / 100.0f) == bitsOf(init),
                   "CalType %d: early stage %d, per-frame call %08x", in.calType, early, bitsOf(init));
    } else {
        ((in.flags & kFlagOnce) ? row->once : row->init)(in.gray, block, in.emissivity, in.distance);
    }
    checkWrites(in.calType, before, raw, "the CalType's own per-frame export");
    checkPublished(in.calType, raw, "the CalType's own per-frame export");
}

// The per-frame call in one of its guises; checks what it wrote.
void frameCall(const Input& in, TempFrameInfo* block, uint8_t* raw) {
    uint8_t before[512];
    std::memcpy(before, raw, 512);
    if (in.flags & kFlagOwnExport) {
        ownFrameCall(in, block, raw, before);
    } else if (in.flags & kFlagFromGray) {
        const uint16_t g = static_cast<uint16_t>(in.gray);
        const float t =
            Temperature_GetTempFromGray(g, block, nullptr, in.calType, in.emissivity, in.distance);
        if (g == 0) {
            FUZZ_CHECK(bitsOf(t) == 0, "gray 0 gave a temperature");
            checkUnchanged(before, raw, "Temperature_GetTempFromGray with gray 0", in.calType);
            return;
        }
        checkWrites(in.calType, before, raw, "Temperature_GetTempFromGray");
        checkPublished(in.calType, raw, "Temperature_GetTempFromGray");
    } else if (in.flags & kFlagOnce) {
        KALVIRO_Gray2Temp_Once(in.calType, in.gray, block, in.emissivity, in.distance);
        checkWrites(in.calType, before, raw, "KALVIRO_Gray2Temp_Once");
        checkPublished(in.calType, raw, "KALVIRO_Gray2Temp_Once");
    } else {
        KALVIRO_Gray2Temp_Init(in.calType, in.gray, block, in.emissivity, in.distance);
        checkWrites(in.calType, before, raw, "KALVIRO_Gray2Temp_Init");
        checkPublished(in.calType, raw, "KALVIRO_Gray2Temp_Init");
    }
}

// The CalType's own reading exports: the same bits as the generic entries,
// nothing for a null block, and for 12 and 60 the realtime stage in
// hundredths.
void ownReadingCalls(const Input& in, TempFrameInfo* block, uint8_t* raw, const TempPara& viaEntry) {
    const CalTypeEntry* row = rowOf(in.calType);
    if (row == nullptr) return;
    uint8_t before[512];
    std::memcpy(before, raw, 512);
    // The export fills only what the layout has: the blob in the long one.
    TempPara para;
    std::memset(&para, 0xa5, sizeof para);
    row->getTempPara(block, &para);
    const bool longForm = kalviro::findCalType(in.calType)->layout == KALVIRO_LAYOUT_LONG;
    const size_t filled = longForm ? offsetof(TempPara, zero) : offsetof(TempPara, paraBlob);
    FUZZ_CHECK(std::memcmp(&para, &viaEntry, filled) == 0, "GetTempPara_%d differs from KALVIRO_GetTempPara",
               in.calType);
    const uint8_t* p = reinterpret_cast<const uint8_t*>(&para);
    for (size_t i = filled; i < sizeof para; ++i) {
        FUZZ_CHECK(p[i] == 0xa5, "GetTempPara_%d wrote TempPara byte 0x%03zx", in.calType, i);
    }

    const float real = row->real(in.gray, block, in.emissivity, in.distance);
    const Stages stages = stagesOf(in.calType);
    if (stages.realtime != nullptr) {
        const int32_t hundredths = stages.realtime(in.gray, block, in.emissivity, in.distance);
        FUZZ_CHECK(bitsOf(static_cast<float>(hundredths) / 100.0f) == bitsOf(real),
                   "CalType %d: realtime stage %d, per-pixel call %08x", in.calType, hundredths,
                   bitsOf(real));
        FUZZ_CHECK(stages.early(in.gray, nullptr, in.emissivity, in.distance) == 0 &&
                       stages.realtime(in.gray, nullptr, in.emissivity, in.distance) == 0,
                   "a stage of CalType %d without a block", in.calType);
    }
    checkUnchanged(before, raw, "the CalType's own reading exports", in.calType);

    std::memset(&para, 0xa5, sizeof para);
    row->getTempPara(nullptr, &para);
    FUZZ_CHECK(p[0] == 0xa5, "GetTempPara_%d without a block wrote", in.calType);
    row->getTempPara(block, nullptr);
    FUZZ_CHECK(bitsOf(row->init(in.gray, nullptr, in.emissivity, in.distance)) == 0 &&
                   bitsOf(row->real(in.gray, nullptr, in.emissivity, in.distance)) == 0 &&
                   bitsOf(row->once(in.gray, nullptr, in.emissivity, in.distance)) == 0 &&
                   (row->getIT == nullptr || bitsOf(row->getIT(nullptr)) == 0),
               "an export of CalType %d without a block", in.calType);
}

// A per-pixel road (real: block, emissivity, distance) gives the bits of a
// plan built for the call alone, on the statics st of that road: with the
// per-frame call's arguments, where the stored plan holds, and after a
// change between the calls that it must notice: a byte of the block that
// the input names, the emissivity, the distance.
template <typename Real>
void checkStoredPlan(const Input& in, const kalviro::CalState& st, const TempFrameInfo* block, Real real,
                     const char* road) {
    const int index = kalviro::listIndex(in.calType);
    if (index < 0) return;
    const kalviro::Module& m = kalviro::moduleAt(index);
    TempFrameInfo changed;
    std::memcpy(&changed, block, sizeof changed);
    reinterpret_cast<uint8_t*>(&changed)[static_cast<uint32_t>(in.target) % 512] ^=
        static_cast<uint8_t>(in.tempMin | 1);
    const struct {
        const TempFrameInfo* block;
        float emissivity, distance;
    } calls[] = {
        {block, in.emissivity, in.distance},
        {&changed, in.emissivity, in.distance},
        {block, in.emissivity * 0.5f, in.distance},
        {block, in.emissivity, in.distance + 1.0f},
    };
    for (const auto& c : calls) {
        const float got = real(c.block, c.emissivity, c.distance);
        const float want = kalviro::convertRealFresh(m, st, c.block, in.gray, c.emissivity, c.distance);
        FUZZ_CHECK(bitsOf(got) == bitsOf(want), "%s of CalType %d: %08x, a fresh plan %08x", road, in.calType,
                   bitsOf(got), bitsOf(want));
    }
}

// Everything that only reads: the block must come out as it went in.
void readingCalls(const Input& in, TempFrameInfo* block, uint8_t* raw) {
    uint8_t before[512];
    std::memcpy(before, raw, 512);
    const Gray2TempFn real = KALVIRO_Gray2Temp_Real_GET(in.calType);

    const float viaEntry = KALVIRO_Gray2Temp_Real(in.calType, in.gray, block, in.emissivity, in.distance);
    if (real != nullptr) {
        const float direct = real(in.gray, block, in.emissivity, in.distance);
        FUZZ_CHECK(bitsOf(direct) == bitsOf(viaEntry), "the per-pixel pointer and entry differ");
        checkStoredPlan(
            in, kalviro::processState(kalviro::listIndex(in.calType)), block,
            [&](const TempFrameInfo* b, float e, float d) {
                return real(in.gray, const_cast<TempFrameInfo*>(b), e, d);
            },
            "the per-pixel pointer");
    } else {
        FUZZ_CHECK(bitsOf(viaEntry) == 0, "an unknown CalType converted");
    }
    checkUnchanged(before, raw, "KALVIRO_Gray2Temp_Real", in.calType);

    const double it = KALVIRO_GetIT(in.calType, block);
    const GetITFn getIT = KALVIRO_GetIT_GET(in.calType);
    if (getIT != nullptr) FUZZ_CHECK(bitsOf(getIT(block)) == bitsOf(it), "GetIT pointer and entry differ");
    checkUnchanged(before, raw, "KALVIRO_GetIT", in.calType);

    TempPara para;
    std::memset(&para, 0xa5, sizeof para);
    const int32_t got = KALVIRO_GetTempPara(in.calType, block, &para);
    FUZZ_CHECK(got == KALVIRO_IsAlgSurport(in.calType), "KALVIRO_GetTempPara returned %d", got);
    const uint8_t* p = reinterpret_cast<const uint8_t*>(&para);
    for (size_t i = got ? offsetof(TempPara, zero) : 0; i < sizeof para; ++i) {
        FUZZ_CHECK(p[i] == (got ? 0 : 0xa5), "TempPara byte 0x%03zx is %u", i, p[i]);
    }
    checkUnchanged(before, raw, "KALVIRO_GetTempPara", in.calType);
    if (in.flags & kFlagOwnExport) ownReadingCalls(in, block, raw, para);

    // The inverse search: at most 101 steps and 100 halvings, distance 0.0.
    gInner = real;
    gCalls = 0;
    gNonZeroDistance = false;
    const int32_t g = KALVIRO_Temp2Gray(real ? countedZeroDistance : nullptr, block, in.tempMin, in.tempMax,
                                        in.grayMin, in.grayMax, in.target, in.emissivity);
    FUZZ_CHECK(gCalls <= 201, "the inverse search called its function %u times", gCalls);
    FUZZ_CHECK(!gNonZeroDistance, "the inverse search passed a distance other than +0.0");
    if (real == nullptr) FUZZ_CHECK(g == in.grayMin, "the inverse search without a function");
    // Handed the CalType's own function, it runs on a plan for the frame:
    // the same gray value as over any function.
    if (real != nullptr) {
        const int32_t viaPlan = KALVIRO_Temp2Gray(real, block, in.tempMin, in.tempMax, in.grayMin, in.grayMax,
                                                  in.target, in.emissivity);
        FUZZ_CHECK(viaPlan == g, "the inverse search on a plan found %d, over a plain function %d", viaPlan,
                   g);
    }
    checkUnchanged(before, raw, "KALVIRO_Temp2Gray", in.calType);

    // Whole frame: bit for bit the per-pixel call, NaN patterns included,
    // through the CalType's own pointer and through any other function.
    if (real == nullptr || in.count == 0) return;
    FUZZ_CHECK(kalviro_convert_frame(real, block, in.pixels, in.count, in.emissivity, in.distance, gOut,
                                     &gTable) == 0,
               "kalviro_convert_frame refused a frame");
    for (size_t i = 0; i < in.count; ++i) {
        const float want = real(in.pixels[i], block, in.emissivity, in.distance);
        FUZZ_CHECK(bitsOf(gOut[i]) == bitsOf(want), "whole frame pixel %zu (gray %u): %08x, per pixel %08x",
                   i, in.pixels[i], bitsOf(gOut[i]), bitsOf(want));
    }
    checkUnchanged(before, raw, "kalviro_convert_frame", in.calType);

    uint32_t lo = 65535, hi = 0;
    for (size_t i = 0; i < in.count; ++i) {
        lo = std::min<uint32_t>(lo, in.pixels[i]);
        hi = std::max<uint32_t>(hi, in.pixels[i]);
    }
    float perPixel[kMaxPixels];
    std::memcpy(perPixel, gOut, in.count * sizeof *gOut);
    FUZZ_CHECK(kalviro_convert_frame_threads(real, block, in.pixels, in.count, in.emissivity, in.distance,
                                             gOut, &gTable, 2) == 0,
               "kalviro_convert_frame_threads refused a frame");
    FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
               "whole frame on two threads differs from one");
    // A sequence on the kept table: the second half as a frame, then the
    // whole again; the table keeps what the plan built and adds the rest.
    const size_t half = in.count / 2;
    kalviro_convert_frame(real, block, in.pixels + half, in.count - half, in.emissivity, in.distance, gOut,
                          &gTable);
    FUZZ_CHECK(std::memcmp(perPixel + half, gOut, (in.count - half) * sizeof *gOut) == 0,
               "half a frame on the kept table differs from the per-pixel call");
    kalviro_convert_frame(real, block, in.pixels, in.count, in.emissivity, in.distance, gOut, &gTable);
    FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
               "a frame after half of it differs from the per-pixel call");
    gCalls = 0;
    kalviro_convert_frame(counted, block, in.pixels, in.count, in.emissivity, in.distance, gOut, &gTable);
    FUZZ_CHECK(gCalls == hi - lo + 1, "%u conversions for the span %u to %u", gCalls, lo, hi);
    FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
               "whole frame through a plain function differs from the per-pixel call");
    checkUnchanged(before, raw, "kalviro_convert_frame through a plain function", in.calType);
    // The plain function's entries are no plan's: the next frame rebuilds,
    // and a fresh table gives the same.
    kalviro_convert_frame(real, block, in.pixels, in.count, in.emissivity, in.distance, gOut, &gTable);
    FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
               "whole frame after a plain function's differs from the per-pixel call");
    std::memset(gFresh.kept, 0, sizeof gFresh.kept);
    kalviro_convert_frame(real, block, in.pixels, in.count, in.emissivity, in.distance, gOut, &gFresh);
    FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
               "whole frame on a fresh table differs from the per-pixel call");
}

// The inverse search over the per-frame function reruns it every time.
void inverseOverFrameCall(const Input& in, TempFrameInfo* block, uint8_t* raw) {
    uint8_t before[512];
    std::memcpy(before, raw, 512);
    gInner = KALVIRO_Gray2Temp_Init_GET(in.calType);
    if (gInner == nullptr) return;
    gCalls = 0;
    KALVIRO_Temp2Gray(counted, block, in.tempMin, in.tempMax, in.grayMin, in.grayMax, in.target,
                      in.emissivity);
    FUZZ_CHECK(gCalls <= 201, "the inverse search called the per-frame function %u times", gCalls);
    checkWrites(in.calType, before, raw, "KALVIRO_Temp2Gray over the per-frame function");
}

// A camera of its own keeps the same promises.
void cameraCalls(const Input& in, TempFrameInfo* block, uint8_t* raw) {
    kalviro::Camera cam(in.calType);
    FUZZ_CHECK(cam.valid() == (KALVIRO_IsAlgSurport(in.calType) != 0), "Camera(%d).valid()", in.calType);
    uint8_t before[512];
    std::memcpy(before, raw, 512);
    if (in.flags & kFlagOnce) {
        cam.once(in.gray, block, in.emissivity, in.distance);
    } else {
        // Twice, as a recording does: the second keeps the table of the first.
        cam.init(in.gray, block, in.emissivity, in.distance);
        cam.init(in.gray, block, in.emissivity, in.distance);
    }
    checkWrites(in.calType, before, raw, "Camera::init");
    std::memcpy(before, raw, 512);

    checkStoredPlan(
        in, kalviro::CameraAccess::state(cam), block,
        [&](const TempFrameInfo* b, float e, float d) { return cam.real(in.gray, b, e, d); }, "Camera::real");
    cam.getIT(block);
    TempPara para;
    cam.getTempPara(block, &para);
    cam.temp2gray(block, in.tempMin, in.tempMax, in.grayMin, in.grayMax, in.target, in.emissivity);
    if (cam.valid() && in.count != 0) {
        cam.realFrame(in.pixels, in.count, block, in.emissivity, in.distance, gOut, gTable);
        for (size_t i = 0; i < in.count; ++i) {
            const float want = cam.real(in.pixels[i], block, in.emissivity, in.distance);
            FUZZ_CHECK(bitsOf(gOut[i]) == bitsOf(want), "Camera::realFrame pixel %zu", i);
        }
        // The viewer keeps each frame's camera as its per-frame call left it
        // and converts the frame later, after the running camera moved on.
        static float perPixel[kMaxPixels];
        std::memcpy(perPixel, gOut, in.count * sizeof *gOut);
        const kalviro::Camera kept = cam;
        TempFrameInfo next;
        std::memcpy(&next, raw, sizeof next);
        cam.init(in.pixels[in.count - 1], &next, in.emissivity, in.distance);
        kept.realFrame(in.pixels, in.count, block, in.emissivity, in.distance, gOut, gTable);
        FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
                   "a kept Camera's whole frame differs from its per-pixel calls");

        // Saved statics (a pickled camera, a scanned state of a Dask task)
        // loaded into a fresh camera convert as the kept one, and take the
        // next per-frame call to the same bits and writes.
        unsigned char state[kalviro::Camera::kStateSize];
        kept.saveState(state);
        kalviro::Camera loaded(in.calType);
        loaded.loadState(state);
        loaded.realFrame(in.pixels, in.count, block, in.emissivity, in.distance, gOut, gTable);
        FUZZ_CHECK(std::memcmp(perPixel, gOut, in.count * sizeof *gOut) == 0,
                   "a Camera of loaded statics converts otherwise than the one saved");
        checkStoredPlan(
            in, kalviro::CameraAccess::state(kept), block,
            [&](const TempFrameInfo* b, float e, float d) { return kept.real(in.gray, b, e, d); },
            "a kept Camera's real");
        kalviro::Camera keptCopy = kept;
        TempFrameInfo viaKept, viaLoaded;
        std::memcpy(&viaKept, raw, sizeof viaKept);
        std::memcpy(&viaLoaded, raw, sizeof viaLoaded);
        const float a = keptCopy.init(in.pixels[0], &viaKept, in.emissivity, in.distance);
        const float b = loaded.init(in.pixels[0], &viaLoaded, in.emissivity, in.distance);
        FUZZ_CHECK(bitsOf(a) == bitsOf(b) && std::memcmp(&viaKept, &viaLoaded, sizeof viaKept) == 0,
                   "the per-frame call after loaded statics differs");
        // Any bytes load without harm: the block's as statics.
        loaded.loadState(raw);
        loaded.realFrame(in.pixels, in.count, block, in.emissivity, in.distance, gOut, gTable);
        loaded.real(in.gray, block, in.emissivity, in.distance);
    }
    checkUnchanged(before, raw, "a reading Camera call", in.calType);
}

// The vector sets this processor runs, through the public entry.
struct LaneSets {
    const char* names[5];
    int count = 0;
    LaneSets() {
        for (const char* name : {"avx512", "avx2", "sse2", "neon", "scalar"}) {
            if (kalviro_set_lanes(name) == 0) names[count++] = name;
        }
        FUZZ_CHECK(count >= 1 && kalviro_set_lanes(nullptr) == 0, "no vector set runs");
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Input in = parse(data, size);
    static const LaneSets sets;
    const char* lanes = sets.names[(in.flags >> kLanesShift) % sets.count];
    FUZZ_CHECK(kalviro_set_lanes(lanes) == 0 && std::strcmp(kalviro_lanes(), lanes) == 0,
               "vector set %s refused", lanes);

    // The frame as a caller holds it: exactly as large as it is, so a read
    // past its end is caught.
    const size_t frameSize = in.imageBytes + 512;
    const std::unique_ptr<uint8_t[]> frame(new uint8_t[frameSize]);
    std::memset(frame.get(), 0x3c, in.imageBytes);
    uint8_t* raw = frame.get() + in.imageBytes;
    std::memcpy(raw, in.block, 512);
    splitFrame(in, frame.get(), frameSize);
    auto* block = reinterpret_cast<TempFrameInfo*>(raw);

    if (!(in.flags & kFlagNoFrameCall)) frameCall(in, block, raw);
    readingCalls(in, block, raw);
    if (in.flags & kFlagInverseInit) inverseOverFrameCall(in, block, raw);
    if (in.flags & kFlagCamera) cameraCalls(in, block, raw);
    return 0;
}

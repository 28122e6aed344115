// The dispatching entries: search the table for the CalType, forward.
#include <cstdio>
#include <cstring>

#include "api/frame.hpp"
#include "api/module.hpp"
#include "api/temp2gray.hpp"
#include "kalviro.h"

namespace {

// The list position whose per-pixel function fn is, or -1: such a call can
// run as a plan taken once and a kernel per gray value.
int listIndexOfReal(Gray2TempFn fn) {
    for (int32_t i = 0; i < kalviro_table_size; ++i) {
        if (kalviro_table[i].real == fn) return i;
    }
    return -1;
}

// kalviro_table holds the list's CalTypes in the list's order.
const CalTypeEntry* findEntry(int32_t calType) {
    const int i = kalviro::listIndex(calType);
    return i < 0 ? nullptr : &kalviro_table[i];
}

}  // namespace

extern "C" {

int32_t Temperature_GetFrameInfo(int32_t calType, uint8_t* frame, uint64_t frameSize, uint8_t** image,
                                 uint64_t* imageSize, uint8_t** info, uint64_t* infoSize) {
    // A size that runs past the end of the address space belongs to no
    // buffer. On a 32-bit host the block address would be cut to the low
    // bits and land inside the image, a plausible pointer to the wrong bytes.
    if (frameSize < 512 || frameSize > UINTPTR_MAX - reinterpret_cast<uintptr_t>(frame)) {
        std::puts("BufSize error");
        return -1;
    }
    if (image) *image = frame;
    if (imageSize) *imageSize = frameSize - 512;
    // Integer arithmetic: a null frame must not become pointer arithmetic on null.
    if (info)
        *info = reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(frame) +
                                           static_cast<uintptr_t>(frameSize - 512));
    if (findEntry(calType) == nullptr) {
        std::puts("CalType error");
        return -1;
    }
    if (infoSize) *infoSize = 512;
    return 0;
}

float KALVIRO_Gray2Temp_Init(int32_t calType, int32_t gray, TempFrameInfo* block, float emissivity,
                             float distance) {
    const CalTypeEntry* e = findEntry(calType);
    return e && block ? e->init(gray, block, emissivity, distance) : 0.0f;
}

float KALVIRO_Gray2Temp_Real(int32_t calType, int32_t gray, TempFrameInfo* block, float emissivity,
                             float distance) {
    const CalTypeEntry* e = findEntry(calType);
    return e && block ? e->real(gray, block, emissivity, distance) : 0.0f;
}

float KALVIRO_Gray2Temp_Once(int32_t calType, int32_t gray, TempFrameInfo* block, float emissivity,
                             float distance) {
    const CalTypeEntry* e = findEntry(calType);
    return e && block ? e->once(gray, block, emissivity, distance) : 0.0f;
}

float Temperature_GetTempFromGray(uint16_t gray, TempFrameInfo* block, void* reserved, int32_t calType,
                                  float emissivity, float distance) {
    (void)reserved;
    if (gray == 0) return 0.0f;
    return KALVIRO_Gray2Temp_Once(calType, static_cast<int32_t>(gray), block, emissivity, distance);
}

double KALVIRO_GetIT(int32_t calType, TempFrameInfo* block) {
    const CalTypeEntry* e = findEntry(calType);
    return e && e->getIT && block ? e->getIT(block) : 0.0;
}

Gray2TempFn KALVIRO_Gray2Temp_Init_GET(int32_t calType) {
    const CalTypeEntry* e = findEntry(calType);
    return e ? e->init : nullptr;
}

Gray2TempFn KALVIRO_Gray2Temp_Real_GET(int32_t calType) {
    const CalTypeEntry* e = findEntry(calType);
    return e ? e->real : nullptr;
}

GetITFn KALVIRO_GetIT_GET(int32_t calType) {
    const CalTypeEntry* e = findEntry(calType);
    return e ? e->getIT : nullptr;
}

int32_t KALVIRO_GetTempPara(int32_t calType, TempFrameInfo* block, TempPara* para) {
    const CalTypeEntry* e = findEntry(calType);
    if (e == nullptr || block == nullptr || para == nullptr) return 0;
    std::memset(para, 0, sizeof *para);
    e->getTempPara(block, para);
    return 1;
}

int32_t KALVIRO_IsAlgSurport(int32_t calType) { return findEntry(calType) != nullptr ? 1 : 0; }

void KALVIRO_GetVersion(char* text) {
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%s %s\n", "Sep  1 2019", "20:07:03");
    std::strcpy(text, stamp);
}

void KALVIRO_GetVersionMinute(char* text) { std::strcpy(text, "V_0.0.29"); }

int32_t KALVIRO_Temp2Gray(Gray2TempFn fn, TempFrameInfo* block, int32_t tempMin, int32_t tempMax,
                          int32_t grayMin, int32_t grayMax, int32_t target, float emissivity) {
    if (fn == nullptr) return grayMin;
    if (const int index = block ? listIndexOfReal(fn) : -1; index >= 0) {
        return kalviro::searchGray(kalviro::moduleAt(index), kalviro::processState(index), block, tempMin,
                                   tempMax, grayMin, grayMax, target, emissivity);
    }
    return kalviro::temp2gray([&](int32_t g) { return fn(g, block, emissivity, 0.0f); }, tempMin, tempMax,
                              grayMin, grayMax, target);
}

}  // extern "C"

namespace {

// A function that is no CalType's own: called once for each gray value.
struct Foreign {
    Gray2TempFn fn;
    TempFrameInfo* block;
    float emissivity, distance;

    static void build(const void* ctx, int32_t first, int32_t count, float* out) {
        const Foreign& f = *static_cast<const Foreign*>(ctx);
        for (int32_t i = 0; i < count; ++i) out[i] = f.fn(first + i, f.block, f.emissivity, f.distance);
    }
};

}  // namespace

extern "C" int32_t kalviro_convert_frame_threads(Gray2TempFn fn, TempFrameInfo* block, const uint16_t* pixels,
                                                 uint64_t count, float emissivity, float distance, float* out,
                                                 KalviroFrameTable* table, int32_t threads) {
    if (fn == nullptr || table == nullptr || !kalviro::frameArgumentsUsable(block, pixels, count, out))
        return -1;
    // A CalType's own per-pixel function runs as a plan for the frame and a
    // kernel for the gray values; any other function is called for each.
    if (const int index = listIndexOfReal(fn); index >= 0) {
        kalviro::convertFrame(kalviro::moduleAt(index), kalviro::processState(index), block, pixels, count,
                              emissivity, distance, out, *table, threads);
        return 0;
    }
    const Foreign foreign{fn, block, emissivity, distance};
    kalviro::frameThrough(kalviro::SpanBuilder{Foreign::build, &foreign}, pixels, count, out, *table,
                          threads);
    return 0;
}

extern "C" int32_t kalviro_convert_frame(Gray2TempFn fn, TempFrameInfo* block, const uint16_t* pixels,
                                         uint64_t count, float emissivity, float distance, float* out,
                                         KalviroFrameTable* table) {
    return kalviro_convert_frame_threads(fn, block, pixels, count, emissivity, distance, out, table, 1);
}

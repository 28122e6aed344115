// C++ interface: a Camera owns its own set of CalType statics, so two cameras
// on one CalType need not take turns as they must through the C entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "kalviro.h"

namespace kalviro {

// What the list says of a CalType.
enum class Layout : uint8_t { Base, Long };
// The families of KALVIRO_FAMILIES (kalviro_caltypes.h), in its order.
enum class Family : uint8_t {
#define KALVIRO_FAMILY_ENUMERATOR(name, ns) name,
    KALVIRO_FAMILIES(KALVIRO_FAMILY_ENUMERATOR)
#undef KALVIRO_FAMILY_ENUMERATOR
};

struct CalTypeInfo {
    int32_t calType;
    Layout layout;  // Long: block fields at 0x134/0x138 moved, long TempPara
    bool hasGetIT;  // has GetITValue_NN
    Family family;
    // The tempRange codes it reads are 2 to lastTempRange: 5 for the older
    // members that run the four-range frame (12, 60, 61, 62), else 4.
    int32_t lastTempRange;
};

#define KALVIRO_LAYOUT_BASE ::kalviro::Layout::Base
#define KALVIRO_LAYOUT_LONG ::kalviro::Layout::Long
#define KALVIRO_INFO(nn, layout, hasIT, family, last) \
    CalTypeInfo{nn, KALVIRO_LAYOUT_##layout, hasIT != 0, ::kalviro::Family::family, last},
// The emissivity the command and the Python package take when none is given:
// a typical painted, oxidised or organic surface.
inline constexpr float kDefaultEmissivity = 0.95f;

// All CalTypes of the list, ascending; every one converts.
inline constexpr CalTypeInfo kCalTypes[KALVIRO_CALTYPE_COUNT] = {KALVIRO_CALTYPES(KALVIRO_INFO)};
#undef KALVIRO_INFO

// The number of families, and a family's name as the command and the
// Python package show it.
#define KALVIRO_FAMILY_ONE(name, ns) +1
inline constexpr int kFamilyCount = 0 KALVIRO_FAMILIES(KALVIRO_FAMILY_ONE);
#undef KALVIRO_FAMILY_ONE
constexpr const char* familyName(Family family) {
#define KALVIRO_FAMILY_NAME(name, ns) #ns,
    constexpr const char* kNames[] = {KALVIRO_FAMILIES(KALVIRO_FAMILY_NAME)};
#undef KALVIRO_FAMILY_NAME
    const int i = static_cast<int>(family);
    return i < kFamilyCount ? kNames[i] : "";
}

// The list's entry for a CalType, or null when there is none.
constexpr const CalTypeInfo* findCalType(int32_t calType) {
    for (const CalTypeInfo& c : kCalTypes) {
        if (c.calType == calType) return &c;
    }
    return nullptr;
}

class KALVIRO_API Camera {
public:
    // A number that is no CalType of the list gives a camera whose calls
    // return the failure values of the C entries. The statics start as loaded: a new
    // camera is a camera switched on. A copy carries the statics along.
    explicit Camera(int32_t calType) noexcept;

    bool valid() const noexcept { return module_ != nullptr; }
    int32_t calType() const noexcept { return calType_; }

    float init(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept;
    float real(int32_t gray, const TempFrameInfo* block, float emissivity, float distance) const noexcept;
    float once(int32_t gray, TempFrameInfo* block, float emissivity, float distance) noexcept;
    double getIT(const TempFrameInfo* block) const noexcept;
    int32_t getTempPara(const TempFrameInfo* block, TempPara* para) const noexcept;
    // KALVIRO_Temp2Gray on this camera's per-pixel call.
    int32_t temp2gray(const TempFrameInfo* block, int32_t tempMin, int32_t tempMax, int32_t grayMin,
                      int32_t grayMax, int32_t target, float emissivity) const noexcept;

    // The per-pixel call on a whole frame: every gray value from the frame's
    // smallest to its largest converted once into the caller's table, then
    // looked up; bit for bit what real() gives. threads > 1 shares the work
    // with workers as kalviro_convert_frame_threads does.
    void realFrame(const uint16_t* pixels, uint64_t count, const TempFrameInfo* block, float emissivity,
                   float distance, float* out, KalviroFrameTable& table, int32_t threads = 1) const noexcept;

    // The same on containers: anything with data() and size() (std::vector,
    // std::array, std::span). false, with nothing written, when out is
    // shorter than pixels or the camera or block is not valid.
    template <typename Pixels, typename Out>
    bool realFrame(const Pixels& pixels, const TempFrameInfo* block, float emissivity, float distance,
                   Out& out, KalviroFrameTable& table, int32_t threads = 1) const noexcept {
        const uint16_t* in = std::data(pixels);
        float* to = std::data(out);
        const std::size_t n = std::size(pixels);
        if (!valid() || block == nullptr || std::size(out) < n) return false;
        realFrame(in, n, block, emissivity, distance, to, table, threads);
        return true;
    }

    // Room for the statics; their layout is the library's own.
    static constexpr std::size_t kStateSize = 512;
    static constexpr std::size_t kStateAlign = 8;

    // Room for the per-pixel plan the last init() or once() left, and the
    // table of results init() built ahead, which real() uses while its block
    // words, emissivity and distance are those init() had (kalviro.h).
    static constexpr std::size_t kPlanSize = 3584 + 4 * 8192;

    // The statics as kStateSize bytes, to keep a camera or carry it to
    // another process (a copy of the object holds addresses of this one).
    // Loaded into a camera of the same CalType, on a library whose
    // stateLayout() is the same text, they make it convert as the saved one
    // would. kalviro_camera_save and kalviro_camera_load in C.
    void saveState(unsigned char* out) const noexcept;
    void loadState(const unsigned char* in) noexcept;
    // The statics' layout: its revision, the host's byte order, their size.
    static const char* stateLayout() noexcept;

private:
    friend struct CameraAccess;
    int32_t calType_;
    const void* module_;
    alignas(kStateAlign) unsigned char state_[kStateSize];
    alignas(kStateAlign) unsigned char plan_[kPlanSize];
};

}  // namespace kalviro

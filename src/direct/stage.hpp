// The per-frame stage of the Direct CalTypes and the alternatives its
// branches choose from (body_drift.cpp, warm_shift.cpp, caltype22.cpp), the
// older four-range frame of 12 and 60 (caltypes_12_60.cpp), and the
// per-frame call in each result form (stage.cpp).
#pragma once

#include <cstdint>

#include "core/frame.hpp"
#include "core/state.hpp"
#include "direct/recipe.hpp"

namespace kalviro::direct {

// The gain driftGain * 0.2 + 0.8, in double, of the upper body-drift bins.
double driftGainG(const FrameCtx& ctx);

// CalType 22's own stages in tempRange 2 (caltype22.cpp).
float bodyDrift22(const FrameCtx& ctx);
float warmShift22(const FrameCtx& ctx, CalState& st);
float driftGain22(int32_t drift, const FrameCtx& ctx);

float bodyDrift(Body form, const FrameCtx& ctx);
float warmShift(Shift form, const FrameCtx& ctx, CalState& st);
float driftCounts(Drift form, int32_t drift, const FrameCtx& ctx);

// The older four-range frame: the stages in hundredths, as exported.
int32_t early12(const Recipe&, CalState&, uint8_t* block, int32_t gray, float emissivity, float distance);
int32_t realtime12(const Recipe&, const CalState&, const uint8_t* block, int32_t gray, float emissivity,
                   float distance);

// The per-frame call in hundredths, in each result form its own.
int32_t frameHundredths(const Recipe&, CalState&, uint8_t* block, int32_t gray, float emissivity,
                        float distance);

// The per-frame call in degrees: the long layout reports whole degrees. The
// per-pixel call is a plan and a kernel (pixel.hpp).
float frameDegrees(const Recipe&, CalState&, uint8_t* block, int32_t gray, float emissivity, float distance);

}  // namespace kalviro::direct

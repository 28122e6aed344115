// The per-frame stage both families walk, written once: opening, the
// frame's shorthands and shutter drift, the branch of the tempRange (wCH5
// seed, slopes, body drift, warm-up shift, drift counts, rows, lookup) and
// what warmShift receives. A family supplies its steps as a struct:
//
//   Row, Branch, Frame                the family's row, branch and shorthands
//   frame(row, st, block, gray)       shorthands, drift counts, air static
//   wCH5Unset(wCH5)                   the family's zero test of wCH5
//   curve(br, f)                      the grid's points as the branch scales them
//   bodyDrift(br, f, st)              const_b (and what the family derives from it)
//   warmShift(br, f, st)              D, the warm-up shift
//   driftCounts(br, f, st, D)         const_d; may take the say over D
//   stepMath(br)                      precision of the rows' grayBase
//   lookupValue(br, f, st)            x
//   rowTest(row, br, range)           the test a row holds x by
//   branchDone(row, f, st)            statics the branch keeps last
//
// The branch names its grid, steps, join, publish and seedWCH5.
#pragma once

#include <cstdint>

#include "core/block.hpp"
#include "core/grids.hpp"
#include "core/rows.hpp"
#include "core/segment_table.hpp"
#include "core/state.hpp"

namespace kalviro {

// What a branch leaves in warmShift when warmHold is 0.
enum class Publish : uint8_t { Zero, Shift };

// Opening: the atmosphere constants, written back so the block tells what
// was used.
inline void openFrame(CalState& st, uint8_t* block) {
    set(block, field::atmA, 4);
    set(block, field::atmB, 167);
    st.const_A3 = 0.04f;
    st.const_B3 = 0.167f;
    st.const_R = get(block, field::grayOffset);
}

// The wCH5 seed's zero test, in the precision each family wrote it: the
// float test and the double test differ for magnitudes near 1e-6, so each
// family keeps its own. Do not merge.
inline bool wCH5UnsetFloat(float wCH5) { return wCH5 >= -0.000001f && wCH5 <= 0.000001f; }
inline bool wCH5UnsetDouble(float wCH5) {
    return static_cast<double>(wCH5) >= -1e-06 && static_cast<double>(wCH5) <= 1e-06;
}

// Runs the stage: the statics and tempdata rebuilt, warmShift published, the
// raw temperature of gray returned; f keeps the frame's shorthands.
template <class Family>
float frameStage(const typename Family::Row& row, CalState& st, uint8_t* block, int32_t gray,
                 typename Family::Frame& f) {
    openFrame(st, block);
    f = Family::frame(row, st, block, gray);
    const bool hold = get(block, field::warmHold) != 0;
    const int32_t range = get(block, field::tempRange);
    float raw = 0.0f;
    float published = 0.0f;
    if (const typename Family::Branch* br = branchFor(row, range)) {
        if (br->seedWCH5 && Family::wCH5Unset(st.wCH5)) st.wCH5 = get(block, field::itRefTemp);
        f.curve = Family::curve(*br, f);
        gridSlopes(f.curve, f.c.slope);
        st.const_b = Family::bodyDrift(*br, f, st);
        float D = Family::warmShift(*br, f, st);
        st.const_d = Family::driftCounts(*br, f, st, D);
        if (hold) D = get(block, field::warmShift);
        const float x = Family::lookupValue(*br, f, st);
        segmentBuild(f.curve, br->steps, Family::stepMath(*br), D, st.tempdata);
        raw = segmentLookup(st.tempdata, gridRows(br->grid), x, Family::rowTest(row, *br, range));
        published = br->publish == Publish::Shift ? D : 0.0f;
        Family::branchDone(row, f, st);
    }
    if (!hold) set(block, field::warmShift, published);
    return raw;
}

}  // namespace kalviro

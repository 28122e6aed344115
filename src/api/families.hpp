// The one list of families. A family is a folder with a Trait in its
// family.hpp: its row type (Row) and the CalTypes it owns (owns, hasRow,
// rowFor, fourRange), its per-frame call (frame), its per-pixel plan (plan)
// with the block words it reads (withPlanWords), and the kernel of the gray
// value alone over lanes (kernel<L>). The modules, the dispatch, the stored
// plan and the lane builders follow from this list; a new family adds its
// folder and its line here.
#pragma once

#include "direct/family.hpp"
#include "kalviro.hpp"
#include "ladder/family.hpp"

namespace kalviro {

template <typename... Traits>
struct FamilyList {};

using Families = FamilyList<direct::Trait, ladder::Trait>;

// f(Trait{}) for the family of the list that owns `family`; the last one
// where none does (the list's check below rules that out).
template <typename F, typename First, typename... Rest>
constexpr auto withFamily(Family family, FamilyList<First, Rest...>, F&& f) {
    if constexpr (sizeof...(Rest) == 0) {
        return f(First{});
    } else {
        if (First::owns(family)) return f(First{});
        return withFamily(family, FamilyList<Rest...>{}, f);
    }
}

template <typename F>
constexpr auto withFamily(Family family, F&& f) {
    return withFamily(family, Families{}, f);
}

}  // namespace kalviro

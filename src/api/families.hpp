// The families of the public list (KALVIRO_FAMILIES, kalviro_caltypes.h) as
// the library sees them. A family is a folder with a Trait in its
// family.hpp: its table of rows (Row, hasRow, rowFor, fourRange: a RowTable
// of core/rows.hpp), its per-frame call (frame), its per-pixel plan (plan)
// with the block words it reads (withPlanWords), and the kernel of the gray
// value alone over lanes (kernel<L>). The modules, the dispatch, the stored
// plan and the lane builders follow from the list; a new family adds its
// line there, its folder, and the include of its family.hpp here.
#pragma once

#include <cstddef>
#include <utility>

#include "direct/family.hpp"
#include "kalviro.hpp"
#include "ladder/family.hpp"

namespace kalviro {

template <typename... Traits>
struct FamilyList {};

// The Trait of each family, from its line of the list.
template <Family F>
struct TraitOf;
#define KALVIRO_TRAIT_OF(name, ns) \
    template <>                    \
    struct TraitOf<Family::name> { \
        using type = ns::Trait;    \
    };
KALVIRO_FAMILIES(KALVIRO_TRAIT_OF)
#undef KALVIRO_TRAIT_OF

template <std::size_t... I>
FamilyList<typename TraitOf<static_cast<Family>(I)>::type...> traitsOf(std::index_sequence<I...>);

using Families = decltype(traitsOf(std::make_index_sequence<kFamilyCount>{}));

// f(Trait{}) for the Trait of `family`; the last family's for a value that
// names none (the modules are made from the list, so none does).
template <std::size_t I = 0, typename F>
constexpr auto withFamily(Family family, F&& f) {
    using Trait = typename TraitOf<static_cast<Family>(I)>::type;
    if constexpr (I + 1 == kFamilyCount) {
        return f(Trait{});
    } else {
        if (family == static_cast<Family>(I)) return f(Trait{});
        return withFamily<I + 1>(family, f);
    }
}

}  // namespace kalviro

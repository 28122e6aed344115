// The frame table's builders on the vectors every processor of the family
// has: SSE2 on x86-64, NEON on 64-bit Arm; 4 lanes. Elsewhere (32-bit Arm,
// whose NEON does not keep IEEE subnormals) there are none.
#include "api/lane_builders.hpp"

#if defined(__x86_64__) || defined(__aarch64__)
#include "core/lanes.hpp"

#if defined(__x86_64__)
KALVIRO_LANE_BUILDERS(sse2, 4)
const kalviro::LaneBuilders* kalviro::baseVectorBuilders() { return &lanes_sse2::kBuilders; }
#else
KALVIRO_LANE_BUILDERS(neon, 4)
const kalviro::LaneBuilders* kalviro::baseVectorBuilders() { return &lanes_neon::kBuilders; }
#endif
#else
const kalviro::LaneBuilders* kalviro::baseVectorBuilders() { return nullptr; }
#endif

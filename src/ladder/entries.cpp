#include "core/four_range.hpp"
#include "ladder/family.hpp"
#include "ladder/stage.hpp"

namespace kalviro::ladder {

float frameDegrees(const Member& m, CalState& st, uint8_t* block, int32_t gray, float emissivity,
                   float distance) {
    (void)distance;  // the per-frame result takes the block's distance only
    switch (m.stage) {
        case StageForm::Skeleton: {
            const float raw = stage(m, st, block, gray);
            return static_cast<float>(frameResult(m, raw, block, emissivity)) / 100.0f;
        }
        case StageForm::Long: {
            const float raw = stage(m, st, block, gray);
            const int32_t hundredths = frameResult(m, raw, block, emissivity);
            // The first frame's limits are kept from here on.
            if (st.init_flag == 0) st.init_flag = 1;
            return static_cast<float>(hundredths / 100);
        }
        case StageForm::FourRange: {
            const FourRangeLookup look = fourRangeFrame(st, block, gray, FourRangeMath::Ladder);
            if (m.channel == Channel::CH1) st.const_CH1 = st.const_CH2;
            return static_cast<float>(frameResultFourRange(m, look.raw, block, emissivity)) / 100.0f;
        }
    }
    return 0.0f;
}

}  // namespace kalviro::ladder

// TempPara: a few block words handed back bit for bit. The long layout moved
// the sixth word to 0x138 and adds the opaque paraBlob.
#include <cstring>

#include "api/module.hpp"
#include "core/block.hpp"

namespace kalviro {

void tempParaGet(bool longForm, const uint8_t* block, TempPara* para) {
    para->lensType = get(block, field::lensType);
    para->paraA = get(block, field::paraA);
    para->paraB = get(block, field::paraB);
    para->distance = get(block, field::distance);
    para->humidity = get(block, field::humidity);
    if (longForm) {
        para->envTemp = get(block, field::envTempLong);
        std::memcpy(para->paraBlob, block + field::paraBlob, field::paraBlobSize);
    } else {
        para->envTemp = get(block, field::envTemp);
    }
}

}  // namespace kalviro

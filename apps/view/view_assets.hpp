// The viewer's page files, built into the binary from apps/web.
#pragma once

#include <cstddef>

namespace kalviro::cli {

struct ViewAsset {
    const char* path;  // "/view.js"
    const char* type;  // its Content-Type
    const unsigned char* data;
    size_t size;
};

extern const ViewAsset kViewAssets[];
extern const size_t kViewAssetCount;

}  // namespace kalviro::cli

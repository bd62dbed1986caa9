#include "plugins/kolvessa/platform/version_query.h"

#include <windows.h>

namespace kolvessa::platform {

bool version_query(std::span<const uint8_t> block, const orvu_wchar* sub_block,
                   version_value& value) {
    void* data = nullptr;
    UINT length = 0;
    if (block.empty() || sub_block == nullptr ||
        !VerQueryValueW(block.data(), sub_block, &data, &length) || data == nullptr) {
        return false;
    }
    value.data = static_cast<const uint8_t*>(data);
    value.length = length;
    return true;
}

}  // namespace kolvessa::platform

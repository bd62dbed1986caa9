#include "orvualgo.h"

#include <libdeflate.h>

#include <cstddef>

#include "standalone/orvualgo/md5.h"

namespace {

enum Result : int32_t {
    RESULT_OK = 0,
    RESULT_ARGUMENT = 1,
    RESULT_UNAVAILABLE = 2,
};

}  // namespace

int32_t orvu_md5_calc(const void* data, uint32_t length, uint8_t digest[16]) {
    if (digest == nullptr || (data == nullptr && length != 0)) {
        return RESULT_ARGUMENT;
    }
    return orvu::md5(data == nullptr ? "" : data, length, digest) ? RESULT_OK : RESULT_UNAVAILABLE;
}

void orvu_md5_bin2str(const uint8_t digest[16], char* text) {
    if (text == nullptr) {
        return;
    }
    size_t at = 0;
    for (size_t i = 0; digest != nullptr && i < 16; ++i) {
        text[at++] = "0123456789abcdef"[digest[i] >> 4U];
        text[at++] = "0123456789abcdef"[digest[i] & 0xFU];
    }
    text[at] = '\0';
}

uint32_t orvu_crc32_calc(const void* data, uint32_t length) {
    // The library takes null as a request for the start value, which is the answer for no data.
    return libdeflate_crc32(0, data, data == nullptr ? 0 : length);
}

#include "plugins/kolvessa/app_rule/byte_hash.h"

#include <chrono>

#include "plugins/kolvessa/platform/platform.h"

namespace kolvessa {
namespace {

// Where this library was loaded, the process and the time: not secret, but not to be known when a
// library file is written.
uint64_t make_key() noexcept {
    static const char place = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const uint64_t process = platform::process_id();
    return fold_multiply(reinterpret_cast<uintptr_t>(&place) ^ (process << 40),
                         static_cast<uint64_t>(now) | 1);
}

}  // namespace

uint64_t byte_hash_key() noexcept {
    static const uint64_t key = make_key();
    return key;
}

}  // namespace kolvessa

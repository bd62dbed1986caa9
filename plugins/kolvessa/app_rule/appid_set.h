#ifndef KOLVESSA_APP_RULE_APPID_SET_H
#define KOLVESSA_APP_RULE_APPID_SET_H

// The appids that a re-parse has met: a flat set that only grows. For one thread.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kolvessa {

class AppidSet {
  public:
    bool contains(uint32_t appid) const noexcept;

    // True when `appid` is new. Throws when memory is out; the set is then unchanged.
    bool insert(uint32_t appid);

  private:
    size_t probe(uint32_t appid) const noexcept;
    void grow();

    // 0 marks a free slot, so that the appid 0 is remembered beside the slots.
    std::vector<uint32_t> slots_;
    size_t used_ = 0;
    bool has_zero_ = false;
};

}  // namespace kolvessa

#endif  // KOLVESSA_APP_RULE_APPID_SET_H

#include "tests/fakehost/failing_new.h"

#include <cstdlib>
#include <new>

#include "tests/fakehost/fake_host.h"

namespace {

thread_local size_t remaining = 0;
thread_local bool happened = false;

bool fails_now() {
    if (remaining == 0 || fakehost::in_own_work()) {
        return false;
    }
    --remaining;
    happened = remaining == 0;
    return happened;
}

void* allocate(size_t size) {
    return fails_now() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

namespace fakehost {

void fail_allocation(size_t nth) {
    remaining = nth;
    happened = false;
}

bool allocation_failed() {
    return happened;
}

}  // namespace fakehost

void* operator new(size_t size) {
    if (void* const block = allocate(size); block != nullptr) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new[](size_t size) {
    return ::operator new(size);
}

void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}

void* operator new[](size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocate(size);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

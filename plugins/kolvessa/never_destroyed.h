#ifndef KOLVESSA_NEVER_DESTROYED_H
#define KOLVESSA_NEVER_DESTROYED_H

#include <new>
#include <utility>

namespace kolvessa {

// A process-wide object without a destructor. The plug-in's threads and the driver's outlive static
// destruction, so what they use must not be taken down by it. Made like any static; used like a
// pointer.
template <typename T>
class NeverDestroyed {
  public:
    template <typename... Args>
    explicit NeverDestroyed(Args&&... args) {
        new (storage_) T(std::forward<Args>(args)...);
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& operator*() { return *std::launder(reinterpret_cast<T*>(storage_)); }
    T* operator->() { return &**this; }

  private:
    alignas(T) unsigned char storage_[sizeof(T)];
};

}  // namespace kolvessa

#endif  // KOLVESSA_NEVER_DESTROYED_H

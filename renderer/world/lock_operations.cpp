// Mutual exclusion between the render threads.

#include "frame/host.h"
#include "world/render.h"

namespace orvane::world {

void Lock::lock() {
    std::unique_lock guard(mutex_);
    if (held_ && owner_ == std::this_thread::get_id())
        throw Fatal("a shader takes a lock that its thread already holds");
    free_.wait(guard, [this] { return !held_ || render_.ending(); });
    if (held_) {
        guard.unlock();  // end() takes the locks in the other order
        render_.throw_why();
    }
    held_ = true;
    owner_ = std::this_thread::get_id();
}

void Lock::unlock() {
    {
        const std::scoped_lock guard(mutex_);
        held_ = false;
    }
    free_.notify_one();
}

void Lock::wake() {
    const std::scoped_lock guard(mutex_);
    free_.notify_all();
}

}  // namespace orvane::world

using orvane::world::Lock;

extern "C" {

void mi_init_lock(miLock* lock) { *lock = orvane::world::current_render()->make_lock(); }

void mi_delete_lock(miLock* lock) {
    orvane::world::current_render()->delete_lock(static_cast<Lock*>(*lock));
    *lock = nullptr;
}

void mi_lock(miLock lock) {
    if (lock) static_cast<Lock*>(lock)->lock();
}

void mi_unlock(miLock lock) {
    if (lock) static_cast<Lock*>(lock)->unlock();
}
}

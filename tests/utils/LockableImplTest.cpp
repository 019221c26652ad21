#include "utils/LockableImpl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

TEST(LockableImpl, IsRecursiveAndExcludesOtherThreadsUntilFullyUnlocked) {
    LockableImpl lock;
    ILockable& lockable = lock;
    lockable.Lock();
    lockable.Lock(); // the holder may lock again
    std::atomic<bool> acquired{false};
    std::thread other([&] {
        lockable.Lock();
        acquired = true;
        lockable.Unlock();
    });
    lockable.Unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(acquired); // still held once
    lockable.Unlock();
    other.join();
    EXPECT_TRUE(acquired);
}

} // namespace

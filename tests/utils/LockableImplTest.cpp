#include "utils/LockableImpl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

TEST(LockableImpl, IsRecursiveAndExcludesOtherThreads) {
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
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(acquired);
    lockable.Unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(acquired); // still held once
    lockable.Unlock();
    other.join();
    EXPECT_TRUE(acquired);
}

TEST(LockableImpl, KeepsCountersConsistentUnderContention) {
    LockableImpl lock;
    long counter = 0;
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            lock.Lock();
            lock.Lock();
            ++counter;
            lock.Unlock();
            lock.Unlock();
        }
    };
    std::thread a(work), b(work);
    a.join();
    b.join();
    EXPECT_EQ(counter, 40000);
}

} // namespace

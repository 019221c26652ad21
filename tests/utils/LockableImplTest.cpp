#include "utils/LockableImpl.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

// Each worker locks twice and unlocks once before its read-modify-write, so
// the update is guarded only if the lock counts its holds. A lock that lets
// go early or excludes nobody loses updates here, and the tsan preset
// reports the unguarded access outright.
TEST(LockableImpl, GuardsUntilEveryHoldIsReleased) {
    LockableImpl lock;
    ILockable& lockable = lock;
    int counter = 0;
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t) {
        workers.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                lockable.Lock();
                lockable.Lock();
                lockable.Unlock();
                const int seen = counter;
                std::this_thread::yield();
                counter = seen + 1;
                lockable.Unlock();
            }
        });
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(counter, 4 * 2000);
}

} // namespace

// CCriticalSection between threads.
#include "ScopedLock.h"

#include <afxmt.h>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

TEST(CriticalSection, KeepsThreadsApartAlsoWhenTakenTwice)
{
    CCriticalSection section;
    int counter = 0; // the thread sanitiser sees a race here if the lock has a hole
    const auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const NV::ScopedLock outer(section);
            CSingleLock inner(&section, TRUE);
            const int seen = counter;
            inner.Unlock(); // still held once
            counter = seen + 1;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counter, 80000);
}

TEST(CriticalSection, OpensWithTheLastUnlockOnly)
{
    CCriticalSection section;
    CSingleLock first(&section), second(&section, TRUE);
    EXPECT_FALSE(first.IsLocked());
    EXPECT_FALSE(first.Unlock());
    EXPECT_TRUE(first.Lock());
    EXPECT_TRUE(first.Lock()) << "a second call of the same object takes nothing more";

    std::atomic<bool> released{false}, entered{false};
    bool enteredEarly = true;
    std::thread other([&] {
        CSingleLock lock(&section, TRUE);
        enteredEarly = !released;
        entered = true;
    });
    EXPECT_TRUE(first.Unlock());
    std::this_thread::yield();
    EXPECT_FALSE(entered);
    released = true;
    EXPECT_TRUE(second.Unlock());
    other.join();
    EXPECT_FALSE(enteredEarly);
}

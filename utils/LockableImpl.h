// The lock of the support library: an interface and its recursive
// implementation. Each transport object holds one; the thread that holds it
// may lock it again and must unlock it as often as it locked it.
#pragma once

#include <mutex>

#include "utils/Export.h"

// A lock that can be taken and released.
class QUORVEL_EXPORT ILockable {
public:
    // Destroys the lock, which nobody may hold then.
    virtual ~ILockable() = default;

    // Blocks until the lock is held by the calling thread.
    virtual void Lock() = 0;

    // Releases one hold of the lock.
    virtual void Unlock() = 0;
};

// A recursive lock: nested `Lock` calls on one thread need as many `Unlock`s.
class QUORVEL_EXPORT LockableImpl : public ILockable {
public:
    // A lock that nobody holds.
    LockableImpl() = default;
    // Not copied: a copy would be a second lock guarding nothing.
    LockableImpl(const LockableImpl&) = delete;
    LockableImpl& operator=(const LockableImpl&) = delete;

    // Blocks until the calling thread holds the lock; it may hold it already.
    void Lock() override;
    // Releases one of the calling thread's holds.
    void Unlock() override;

private:
    std::recursive_mutex m_lock;
};

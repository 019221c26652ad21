#include "utils/LockableImpl.h"

void LockableImpl::Lock() {
    m_lock.lock();
}

void LockableImpl::Unlock() {
    m_lock.unlock();
}

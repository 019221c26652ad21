// Owns one retained object and releases it when destroyed. The app keeps its
// two process-wide dictionaries in such holders (AUApplication.h); the
// strings one shares its table with the bundle that read it, as a retained
// platform object is shared.
#pragma once

#include <memory>

template <typename T> class CAutoNSObject {
public:
    CAutoNSObject() = default;
    CAutoNSObject(const CAutoNSObject&) = delete;
    CAutoNSObject& operator=(const CAutoNSObject&) = delete;

    // The object held, or null.
    T* get() const { return object_.get(); }

    // Retains `object`, releasing the one held before.
    void reset(std::shared_ptr<T> object) { object_ = std::move(object); }

private:
    std::shared_ptr<T> object_;
};

// Owns one object and releases it when destroyed. The app keeps its two
// process-wide dictionaries in such holders (AUApplication.h).
#pragma once

#include <memory>

template <typename T> class CAutoNSObject {
public:
    CAutoNSObject() = default;
    CAutoNSObject(const CAutoNSObject&) = delete;
    CAutoNSObject& operator=(const CAutoNSObject&) = delete;

    // The object held, or null.
    T* get() const { return object_.get(); }

    // Takes `object` over, releasing the one held before.
    void reset(std::unique_ptr<T> object) { object_ = std::move(object); }

private:
    std::unique_ptr<T> object_;
};

// The choice among the versions of a family of kernels (internal).
//
// A family has a scalar reference and vector versions with the same
// contract. The fastest version this processor and build can run is chosen
// when the family is first used; tests and fuzzers force each version in
// turn. Forcing is meant for single-threaded test programs.
#pragma once

#include <atomic>
#include <vector>

namespace kernelchoice {

// The instruction sets a family may have versions for, slowest first.
enum class Isa { kScalar, kSse2, kAvx2 };

// True when this processor and build can run `isa`'s kernels.
inline bool Supported(Isa isa) {
#if defined(__x86_64__)
    __builtin_cpu_init(); // the choice may be made before static constructors have run
    return isa != Isa::kAvx2 ||
           (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt"));
#else
    return isa == Isa::kScalar;
#endif
}

// Every instruction set this processor and build can run, the best last:
// what tests and fuzzers force in turn.
inline std::vector<Isa> SupportedIsas() {
    std::vector<Isa> isas;
    for (const Isa isa : {Isa::kScalar, Isa::kSse2, Isa::kAvx2}) {
        if (Supported(isa)) {
            isas.push_back(isa);
        }
    }
    return isas;
}

// The version of one family in use, chosen the first time the family is
// used; `Kernels` is the family's table of function pointers.
template <typename Kernels> class Choice {
public:
    // Versions a build does not have are null.
    Choice(const Kernels* scalar, const Kernels* sse2, const Kernels* avx2)
        : versions_{scalar, sse2, avx2}, inUse_(scalar) {
        Select(Isa::kAvx2) || Select(Isa::kSse2);
    }

    // The version in use.
    const Kernels& Active() const { return *inUse_.load(std::memory_order_relaxed); }

    // Puts `isa`'s version in use; false (and no change) when it cannot run here.
    bool Select(Isa isa) {
        const Kernels* version = versions_[static_cast<int>(isa)];
        if (version == nullptr || !Supported(isa)) {
            return false;
        }
        inUse_.store(version, std::memory_order_relaxed);
        return true;
    }

private:
    const Kernels* versions_[3];
    std::atomic<const Kernels*> inUse_;
};

} // namespace kernelchoice

// The choice among the versions of the vector kernels (internal).
//
// Each family of kernels (the UTF-8 conversions, the XML scans) has a scalar
// reference and vector versions with the same contract. One instruction set
// is chosen for the whole process, the first time any family is used: the
// best this processor and build can run, or the one QUORVEL_KERNEL names
// (scalar, sse2, avx2, avx512 or neon) when it can run here. Tests and
// fuzzers force each one in turn; forcing is meant for single-threaded test
// programs.
#pragma once

#include <atomic>
#include <string>
#include <vector>

namespace kernelchoice {

// The instruction sets the families have versions for.
enum class Isa { kScalar, kSse2, kAvx2, kAvx512, kNeon };
constexpr int kIsaCount = 5;

// QUORVEL_KERNEL's spelling of `isa`.
const char* Name(Isa isa);

// True when this processor and build can run `isa`'s kernels.
bool Supported(Isa isa);

// Every instruction set this processor and build can run, the best last:
// what tests and fuzzers force in turn.
std::vector<Isa> SupportedIsas();

// The instruction set in use; chosen on the first call.
Isa InUse();

// Puts `isa` in use for every family; false (and no change) when it cannot
// run here. For tests and fuzzers.
bool Force(Isa isa);

// What is in use, for diagnosing a user's machine: the instruction set's
// name, with what QUORVEL_KERNEL asked for when that could not be had.
std::string Describe();

// One family's versions, indexed by `Isa`; `Kernels` is the family's table
// of function pointers. A version a build lacks is null, and the nearest
// lower one serves in its place.
template <typename Kernels> class Family {
public:
    explicit Family(const Kernels* const (&versions)[kIsaCount]) {
        for (int i = 0; i < kIsaCount; ++i) {
            versions_[i] = versions[i] != nullptr || i == 0 ? versions[i] : versions_[i - 1];
        }
    }

    // The version in use.
    const Kernels& Active() const { return *versions_[static_cast<int>(InUse())]; }

private:
    const Kernels* versions_[kIsaCount];
};

} // namespace kernelchoice

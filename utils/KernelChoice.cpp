// The process-wide choice of kernel versions.
#include "utils/KernelChoice.h"

#include <cstdlib>
#include <cstring>

namespace kernelchoice {
namespace {

constexpr const char* kNames[kIsaCount] = {"scalar", "sse2", "avx2", "avx512", "neon"};

// What QUORVEL_KERNEL named, or null; read once.
const char* Requested() {
    static const char* const requested = std::getenv("QUORVEL_KERNEL");
    return requested;
}

Isa Initial() {
    const std::vector<Isa> isas = SupportedIsas();
    if (const char* requested = Requested()) {
        for (const Isa isa : isas) {
            if (std::strcmp(requested, Name(isa)) == 0) {
                return isa;
            }
        }
    }
    return isas.back();
}

std::atomic<Isa>& Current() {
    static std::atomic<Isa> current{Initial()};
    return current;
}

} // namespace

const char* Name(Isa isa) {
    return kNames[static_cast<int>(isa)];
}

bool Supported(Isa isa) {
    switch (isa) {
    case Isa::kScalar:
        return true;
#if defined(__x86_64__)
    case Isa::kSse2:
        return true;
    case Isa::kAvx2:
        __builtin_cpu_init(); // the choice may be made before static constructors have run
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
    case Isa::kAvx512:
        __builtin_cpu_init();
        return Supported(Isa::kAvx2) && __builtin_cpu_supports("bmi2") &&
               __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
               __builtin_cpu_supports("avx512vbmi2");
#elif defined(__aarch64__)
    case Isa::kNeon:
        return true; // part of every arm64 processor
#endif
    default:
        return false;
    }
}

std::vector<Isa> SupportedIsas() {
    std::vector<Isa> isas;
    for (int i = 0; i < kIsaCount; ++i) {
        if (Supported(static_cast<Isa>(i))) {
            isas.push_back(static_cast<Isa>(i));
        }
    }
    return isas;
}

Isa InUse() {
    return Current().load(std::memory_order_relaxed);
}

bool Force(Isa isa) {
    if (!Supported(isa)) {
        return false;
    }
    Current().store(isa, std::memory_order_relaxed);
    return true;
}

std::string Describe() {
    std::string text = Name(InUse());
    const char* requested = Requested();
    if (requested != nullptr) {
        bool known = false;
        for (const Isa isa : SupportedIsas()) {
            known = known || std::strcmp(requested, Name(isa)) == 0;
        }
        if (!known) {
            text += std::string(" (QUORVEL_KERNEL=") + requested + " cannot run here)";
        }
    }
    return text;
}

} // namespace kernelchoice

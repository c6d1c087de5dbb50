#include "sketch/kernel/instructionsets.h"

#include <atomic>

#include "sketch/kernel/dispatch.h"

namespace sketch {

namespace {

#if HWY_ARCH_X86
// Clang knows neither name in its older versions: there they count as part of what is
// asked for beside them, as on every machine that is made.
#if defined(__clang__) && __clang_major__ < 18
constexpr bool hasF16c()
{
    return true;
}
constexpr bool hasVaes()
{
    return true;
}
#else
bool hasF16c()
{
    return __builtin_cpu_supports("f16c");
}
bool hasVaes()
{
    return __builtin_cpu_supports("vaes");
}
#endif
#endif

// What the compiler was told for each, and the system saves when it changes threads.
bool isSupported(int64_t target)
{
#if HWY_ARCH_X86
    const auto hasAvx2 = [] {
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")
            && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && hasF16c();
    };
    const auto hasAvx3 = [&] {
        return hasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl")
            && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
    };
    switch (target) {
    case HWY_AVX3_DL:
        return hasAvx3() && __builtin_cpu_supports("vpclmulqdq") && hasVaes()
            && __builtin_cpu_supports("gfni") && __builtin_cpu_supports("avx512vbmi")
            && __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("avx512vnni")
            && __builtin_cpu_supports("avx512bitalg") && __builtin_cpu_supports("avx512vpopcntdq");
    case HWY_AVX3: return hasAvx3();
    case HWY_AVX2: return hasAvx2();
    case HWY_SSE4:
        return __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("sse4.2")
            && __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("aes");
    case HWY_SSSE3: return __builtin_cpu_supports("ssse3");
    default: break;
    }
#endif
    return target == HWY_STATIC_TARGET; // what every such machine has
}

// Those that are built in; better ones have lower bits.
std::vector<int64_t> supportedTargets()
{
    std::vector<int64_t> found;
    for (int64_t rest = HWY_TARGETS; rest != 0; rest &= rest - 1) {
        if (isSupported(rest & -rest))
            found.push_back(rest & -rest);
    }
    return found;
}

constexpr int64_t notChosen = 0;
std::atomic<int64_t> chosen = notChosen;

} // namespace

int64_t chosenTarget()
{
    int64_t target = chosen.load(std::memory_order_relaxed);
    if (target == notChosen) {
        target = supportedTargets().front();
        chosen.store(target, std::memory_order_relaxed);
    }
    return target;
}

std::vector<std::string> variantNames()
{
    std::vector<std::string> names;
    for (const int64_t target : supportedTargets())
        names.emplace_back(hwy::TargetName(target));
    return names;
}

bool useVariant(const std::string &name)
{
    for (const int64_t target : supportedTargets()) {
        if (name.empty() || name == hwy::TargetName(target)) {
            chosen = target;
            return true;
        }
    }
    return false;
}

std::string variantInUse()
{
    return hwy::TargetName(chosenTarget());
}

} // namespace sketch

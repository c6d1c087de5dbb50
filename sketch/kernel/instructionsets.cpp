#include "sketch/kernel/instructionsets.h"

#include <cstdint>

#include <hwy/targets.h>

namespace sketch {

namespace {

// Better instruction sets have lower bits.
std::vector<std::int64_t> targets()
{
    hwy::DisableTargets(0);
    std::vector<std::int64_t> found;
    for (std::int64_t rest = hwy::SupportedTargets() & HWY_TARGETS; rest != 0; rest &= rest - 1)
        found.push_back(rest & -rest);
    return found;
}

} // namespace

std::vector<std::string> variantNames()
{
    std::vector<std::string> names;
    for (const std::int64_t target : targets())
        names.emplace_back(hwy::TargetName(target));
    return names;
}

void useVariant(const std::string &name)
{
    std::int64_t chosen = ~std::int64_t(0);
    for (const std::int64_t target : targets()) {
        if (name == hwy::TargetName(target))
            chosen = target;
    }
    hwy::DisableTargets(~chosen);
}

} // namespace sketch

#pragma once

#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <initializer_list>

namespace kasto::test {

// Runs `check` with each width of vectors the processor has, from the oldest on.
template <class Check>
void forEachVectorTarget(Check check) {
    for (const auto target : {HWY_SSSE3, HWY_SSE4, HWY_AVX2, HWY_AVX3, HWY_AVX3_DL}) {
        if ((hwy::SupportedTargets() & target) == 0) continue;
        SCOPED_TRACE(hwy::TargetName(target));
        hwy::GetChosenTarget().Update(target);
        check();
    }
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace kasto::test

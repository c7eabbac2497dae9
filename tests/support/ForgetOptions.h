#pragma once

#include "options/Prefs.h"

namespace kasto::test {

// Sets every option to its default.
inline void forgetOptions() {
    for (const auto& option : kOptions) Prefs::forget(option.id);
}

}  // namespace kasto::test

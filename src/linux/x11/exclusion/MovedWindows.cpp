#include "linux/x11/exclusion/MovedWindows.h"

namespace kasto::x11 {

void MovedWindows::update(const std::vector<TopLevel>& before, const std::vector<TopLevel>& after,
                          bool hasCompositingManager) {
    if (hasCompositingManager) {
        places_ = {};
    } else {
        for (const auto* windows : {&before, &after})
            for (const auto& top : *windows)
                if (ids_.contains(top.id)) places_.unite(top.outer);
    }
    ids_.clear();
}

}  // namespace kasto::x11

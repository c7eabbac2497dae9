#pragma once

#include <spa/utils/dict.h>

#include <charconv>
#include <string_view>

namespace kasto::pipewire {

// A property of an object of the media server; empty if it has no such property.
inline std::string_view textOf(const spa_dict& properties, const char* key) {
    const char* value = spa_dict_lookup(&properties, key);
    return value ? value : "";
}

// The same as a number; `otherwise` if it is not one.
template <class Number>
Number numberOf(const spa_dict& properties, const char* key, Number otherwise) {
    const auto text = textOf(properties, key);
    std::from_chars(text.data(), text.data() + text.size(), otherwise);
    return otherwise;
}

}  // namespace kasto::pipewire

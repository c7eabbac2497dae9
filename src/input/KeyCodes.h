#pragma once

#include "platform/HotKeyService.h"

#include <cstdint>
#include <string_view>

namespace kasto {

// Chords written as numbers: a key code for a letter's place on an ANSI keyboard, and a sum of modifiers.
// This is the only place that knows the numbers; all other code uses KeyChord.
namespace keycodes {

inline constexpr std::uint32_t kCommand = 0x0100;
inline constexpr std::uint32_t kShift = 0x0200;
inline constexpr std::uint32_t kOption = 0x0800;
inline constexpr std::uint32_t kControl = 0x1000;
inline constexpr std::uint32_t kKeyR = 15;

// The chord's key is 0 when the code is not that of a letter.
constexpr KeyChord chordOf(std::uint32_t keyCode, std::uint32_t modifiers) {
    // The letter with code n is the n-th character; a space stands for a key without a letter.
    constexpr std::u32string_view kLetters = U"asdfhgzxcv bqweryt             ou ip lj k    nm";
    const char32_t letter = keyCode < kLetters.size() ? kLetters[keyCode] : U' ';
    return {.key = letter == U' ' ? U'\0' : letter,
            .control = (modifiers & kControl) != 0,
            .option = (modifiers & kOption) != 0,
            .command = (modifiers & kCommand) != 0,
            .shift = (modifiers & kShift) != 0};
}

}  // namespace keycodes

// Starts and stops a take from any program.
inline constexpr KeyChord kToggleChord =
    keycodes::chordOf(keycodes::kKeyR, keycodes::kControl | keycodes::kOption | keycodes::kCommand);
static_assert(kToggleChord == KeyChord{.key = U'r', .control = true, .option = true, .command = true});

}  // namespace kasto

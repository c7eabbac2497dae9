#include "input/HotKey.h"

#include <algorithm>
#include <array>
#include <optional>

namespace kasto {

namespace {

struct LetterKey {
    std::uint32_t code;
    char32_t letter;
};

// The numbers of the letter keys, by their place on an ANSI keyboard.
constexpr auto kLetterKeys = std::to_array<LetterKey>(
    {{0, U'a'},  {1, U's'},  {2, U'd'},  {3, U'f'},  {4, U'h'},  {5, U'g'},  {6, U'z'},
     {7, U'x'},  {8, U'c'},  {9, U'v'},  {11, U'b'}, {12, U'q'}, {13, U'w'}, {14, U'e'},
     {15, U'r'}, {16, U'y'}, {17, U't'}, {31, U'o'}, {32, U'u'}, {34, U'i'}, {35, U'p'},
     {37, U'l'}, {38, U'j'}, {40, U'k'}, {45, U'n'}, {46, U'm'}});

std::optional<KeyChord> chordFor(std::uint32_t keyCode, std::uint32_t modifiers) {
    const auto* found = std::ranges::find(kLetterKeys, keyCode, &LetterKey::code);
    if (found == kLetterKeys.end()) return std::nullopt;
    return KeyChord{.key = found->letter,
                    .control = (modifiers & HotKey::kControl) != 0,
                    .option = (modifiers & HotKey::kOption) != 0,
                    .command = (modifiers & HotKey::kCommand) != 0,
                    .shift = (modifiers & HotKey::kShift) != 0};
}

}  // namespace

std::unique_ptr<HotKey> HotKey::make(HotKeyService& service, std::uint32_t keyCode, std::uint32_t modifiers) {
    const auto chord = chordFor(keyCode, modifiers);
    if (!chord) return nullptr;
    std::unique_ptr<HotKey> made(new HotKey);
    made->ref_ = service.registerChord(*chord, [hotKey = made.get()] {
        if (hotKey->onPress) hotKey->onPress();
    });
    if (!made->ref_) return nullptr;
    return made;
}

}  // namespace kasto

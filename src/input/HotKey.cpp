#include "input/HotKey.h"

namespace kasto {

std::unique_ptr<HotKey> HotKey::make(HotKeyService& service, const KeyChord& chord) {
    std::unique_ptr<HotKey> made(new HotKey);
    made->ref_ = service.registerChord(chord, [hotKey = made.get()] {
        if (hotKey->onPress) hotKey->onPress();
    });
    if (!made->ref_) return nullptr;
    return made;
}

}  // namespace kasto

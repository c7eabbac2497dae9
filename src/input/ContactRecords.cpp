#include "input/ContactRecords.h"

#include "base/Guarded.h"
#include "input/TouchPadZoomPan.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace kasto {

namespace {

struct ContactRecord {
    std::array<std::byte, 20> unusedBefore;
    std::int32_t state;
    std::array<std::byte, 8> unusedBetween;
    float x;
    float y;
    std::array<std::byte, 56> unusedAfter;
};
static_assert(sizeof(ContactRecord) == 96 && offsetof(ContactRecord, state) == 20);
static_assert(offsetof(ContactRecord, x) == 32 && offsetof(ContactRecord, y) == 36);

std::vector<Contact> contactsIn(const void* records, std::size_t count) {
    std::vector<Contact> contacts;
    for (std::size_t i = 0; i < count; ++i) {
        // Copied, because the records need not be aligned.
        ContactRecord record;
        std::memcpy(&record, static_cast<const std::byte*>(records) + i * sizeof(record), sizeof(record));
        contacts.push_back(
            {.state = static_cast<Contact::State>(record.state), .x = record.x, .y = record.y});
    }
    return contacts;
}

// Never destroyed, because frames may still arrive while the process ends.
Guarded<std::weak_ptr<TouchPadZoomPan>>& activeTouchPad() {
    static auto& active = *new Guarded<std::weak_ptr<TouchPadZoomPan>>;
    return active;
}

}  // namespace

std::int32_t kastoMTCallback(void*, const void* contacts, std::int32_t count, double timestampS,
                             std::int32_t) {
    if (const auto receiver = activeTouchPad().copy().lock())
        receiver->takeFrame(contactsIn(contacts, contacts && count > 0 ? static_cast<std::size_t>(count) : 0),
                            timestampS);
    return 0;
}

void setActiveTouchPad(std::weak_ptr<TouchPadZoomPan> receiver) { activeTouchPad().set(std::move(receiver)); }

}  // namespace kasto

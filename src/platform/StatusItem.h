#pragma once

#include "platform/MenuEntry.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kasto {

enum class StatusImage {
    idle,       // a hollow record circle in the colours of the desktop
    recording,  // a filled one, red
    stop,       // a filled square, red
};

struct StatusClick {
    bool isRight = false;
    bool isControlHeld = false;
};

// An image with a short text in the desktop's status area. It is visible as long as the object exists and the
// desktop has a status area. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    // `description` is read out by screen readers.
    virtual void setImage(StatusImage image, const std::string& description) = 0;

    // Shown next to the image, or inside the image if the desktop has no room for text.
    virtual void setTitle(const std::string& title) = 0;

    // Whether something shows the item now.
    virtual bool isShown() const = 0;
};

struct StatusItemActions {
    // Called for a click with any button, or when the item is activated from the keyboard. The call may
    // destroy the item.
    std::function<void(const StatusClick&)> onClick = {};
    // Returns the item's present menu. Desktops that open menus themselves on a right click ask for it.
    // Without this function they open none.
    std::function<std::vector<MenuEntry>()> menu = {};
};

class StatusItems {
public:
    virtual ~StatusItems() = default;

    // Makes an item. `id` must be the same in every run, because users sort and hide items by it. Without a
    // status area the item appears as soon as there is one. The item must be destroyed before this object.
    virtual std::unique_ptr<StatusItem> make(const std::string& id, StatusItemActions actions) = 0;
};

}  // namespace kasto

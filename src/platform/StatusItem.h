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

// An image, and a short text with it, where the desktop keeps such items: visible for as long as the object
// lives, and whenever something shows items. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    // `description` names the image to those who do not see it.
    virtual void setImage(StatusImage image, const std::string& description) = 0;

    // Shown next to the image or, where there is no room for it, in it.
    virtual void setTitle(const std::string& title) = 0;
};

struct StatusItemActions {
    // A click, or the item activated from the keyboard. The item may be destroyed in it.
    std::function<void(const StatusClick&)> onClick = {};
    // The item's menu at this moment, for desktops that open menus themselves on a right click; without it
    // they open none.
    std::function<std::vector<MenuEntry>()> menu = {};
};

class StatusItems {
public:
    virtual ~StatusItems() = default;

    // `id` stays the same from run to run: people sort and hide items by it. Where nothing shows items the
    // result waits for something that does. Gone before this.
    virtual std::unique_ptr<StatusItem> make(const std::string& id, StatusItemActions actions) = 0;
};

}  // namespace kasto

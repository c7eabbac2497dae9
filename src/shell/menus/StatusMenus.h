#pragma once

#include "platform/MenuEntry.h"
#include "shell/menus/PopupMenu.h"

#include <vector>

namespace kasto {

class MenuHost;
class OwnWindows;
class PointerInput;

// The menu of the status item and the quick menu, which has the options alone. Both are built anew whenever
// they open, so they show the options and the phase of that moment. Main thread.
class StatusMenus {
public:
    // All of them outlive it.
    StatusMenus(MenuHost& host, OwnWindows& ownWindows, const PointerInput& pointer);

    // The entries of the status menu at this moment, also for desktops that show menus themselves.
    std::vector<MenuEntry> statusEntries();

    // Opens a menu at the pointer, in the place of one that is open.
    void showStatusMenu();
    void showQuickMenu();

    // Closes the menu that is open, if one is: for a change of phase, after which its entries are false.
    void close();

private:
    std::vector<MenuEntry> quickEntries();

    MenuHost& host_;
    PopupMenu statusMenu_;
    PopupMenu quickMenu_;
};

}  // namespace kasto

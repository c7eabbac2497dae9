#pragma once

#include "platform/MenuEntry.h"
#include "platform/OwnWindows.h"
#include "platform/PointerInput.h"

#include <QMenu>
#include <memory>
#include <vector>

namespace kasto {

class MenuCheckRow;

// A menu made from `MenuEntry` values. It opens at the pointer even while another program has the focus, and
// stays open while check rows are toggled. It and its submenus are kept out of takes. Main thread.
class PopupMenu final : public QMenu {
public:
    // `ownWindows` and `pointer` outlive it.
    PopupMenu(OwnWindows& ownWindows, const PointerInput& pointer);

    // Replaces all entries.
    void setEntries(const std::vector<MenuEntry>& entries);

    void popUpAtPointer();

private:
    void addEntry(const MenuEntry& entry);
    void addCommand(const MenuEntry& entry);
    void addCheckRow(const MenuEntry& entry);
    void addSubmenu(const MenuEntry& entry);
    QString shownTitle(const MenuEntry& entry) const;
    std::vector<MenuCheckRow*> rows() const;
    void highlight(const QAction* action);
    void takeInput();
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const override;

    OwnWindows& ownWindows_;
    const PointerInput& pointer_;
    PopupMenu* above_ = nullptr;  // the menu that this is a submenu of
    std::vector<std::unique_ptr<PopupMenu>> submenus_;
};

}  // namespace kasto

#include "shell/menus/PopupMenu.h"

#include "shell/menus/MenuCheckRow.h"
#include "shell/menus/MenuText.h"
#include "ui/OwnWindowWatch.h"

#include <QApplication>
#include <QKeyEvent>
#include <QStyleOption>
#include <QTimer>
#include <QWidgetAction>
#include <QWindow>
#include <algorithm>

namespace kasto {

namespace {

constexpr int kMaxTitleWidth = 480;

MenuCheckRow* rowOf(const QAction* action) {
    const auto* holder = qobject_cast<const QWidgetAction*>(action);
    return holder ? static_cast<MenuCheckRow*>(holder->defaultWidget()) : nullptr;
}

QAction* commandWith(const QMenu& menu, const QKeySequence& keys) {
    const auto actions = menu.actions();
    const auto found = std::ranges::find_if(actions, [&](const QAction* action) {
        return action->isEnabled() && !keys.isEmpty() && action->shortcut() == keys;
    });
    return found == actions.end() ? nullptr : *found;
}

void closePopups() {
    while (auto* popup = QApplication::activePopupWidget())
        if (!popup->close()) return;
}

}  // namespace

PopupMenu::PopupMenu(OwnWindows& ownWindows, const PointerInput& pointer)
    : ownWindows_(ownWindows), pointer_(pointer) {
    // On a screen that is too small for all entries the menu scrolls; some styles would open a second column
    // beyond the edge of the screen instead.
    setStyleSheet("QMenu { menu-scrollable: 1; }");
    // A style may replace the kind of native window when it is applied, so it is applied before the window is
    // registered.
    ensurePolished();
    watchOwnWindow(*this, ownWindows_);
    connect(this, &QMenu::hovered, this, &PopupMenu::highlight);
}

void PopupMenu::setEntries(const std::vector<MenuEntry>& entries) {
    clear();
    submenus_.clear();
    for (const auto& entry : entries) addEntry(entry);
}

void PopupMenu::addEntry(const MenuEntry& entry) {
    if (entry.isSeparator()) {
        addSeparator();
    } else if (entry.isOn) {
        addCheckRow(entry);
    } else if (!entry.submenu.empty()) {
        addSubmenu(entry);
    } else {
        addCommand(entry);
    }
}

void PopupMenu::addCommand(const MenuEntry& entry) {
    auto* action = addAction(shownTitle(entry));
    action->setEnabled(entry.isEnabled);
    if (entry.keyEquivalent) {
        action->setShortcut(keySequence(*entry.keyEquivalent));
        action->setText(action->text() + '\t' + keyNames(*entry.keyEquivalent));
    }
    if (entry.action) connect(action, &QAction::triggered, this, [act = entry.action] { act(); });
}

void PopupMenu::addCheckRow(const MenuEntry& entry) {
    const auto toggled = [this, entry](bool on) {
        entry.onToggle(on);
        if (!entry.isChoice) return;
        for (auto* row : rows()) row->setOn(row->rep() == entry.rep);
    };
    auto* holder = new QWidgetAction(this);
    holder->setDefaultWidget(
        new MenuCheckRow(QString::fromStdString(entry.title), *entry.isOn, entry.rep, toggled));
    holder->setEnabled(entry.isEnabled);
    addAction(holder);
}

void PopupMenu::addSubmenu(const MenuEntry& entry) {
    // Not a child widget: Qt gives all children of a menu native windows as soon as one of them has one.
    auto& submenu = *submenus_.emplace_back(std::make_unique<PopupMenu>(ownWindows_, pointer_));
    submenu.above_ = this;
    submenu.setTitle(shownTitle(entry));
    submenu.setEntries(entry.submenu);
    addMenu(&submenu)->setEnabled(entry.isEnabled);
}

QString PopupMenu::shownTitle(const MenuEntry& entry) const {
    const auto title = QString::fromStdString(entry.title);
    // Elided in the middle, because a name of any length stands between words of the program.
    return fontMetrics().elidedText(title, Qt::ElideMiddle, kMaxTitleWidth).replace('&', "&&");
}

std::vector<MenuCheckRow*> PopupMenu::rows() const {
    std::vector<MenuCheckRow*> found;
    for (const auto* action : actions())
        if (auto* row = rowOf(action)) found.push_back(row);
    return found;
}

void PopupMenu::highlight(const QAction* action) {
    for (auto* row : rows()) row->setHovered(row == rowOf(action));
}

void PopupMenu::popUpAtPointer() {
    popup(QCursor::pos());
    if (QGuiApplication::platformName() == "xcb") takeInput();
}

// Grabs pointer and keyboard; without them a click outside would not close the menu. Another program holds
// them while a button is down in its window or its own menu is open, so this tries again until it succeeds.
void PopupMenu::takeInput() {
    constexpr std::chrono::milliseconds kRetry(50);
    if (!isVisible()) return;
    // Qt reports success even where another program holds the pointer. A held button is the sign of that.
    const auto pointer = pointer_.state().value_or(PointerState{});
    const bool isFree = !pointer.left && !pointer.right;
    auto* window = windowHandle();
    const bool isTaken = window->setMouseGrabEnabled(true) && window->setKeyboardGrabEnabled(true);
    if (!isFree || !isTaken) QTimer::singleShot(kRetry, this, &PopupMenu::takeInput);
}

void PopupMenu::keyPressEvent(QKeyEvent* event) {
    const bool chooses = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                         event->key() == Qt::Key_Space || event->key() == Qt::Key_Select;
    if (auto* row = rowOf(activeAction()); row && chooses) {
        row->click();
        return;
    }
    const QKeySequence keys(event->keyCombination());
    for (const auto* menu = this; menu; menu = menu->above_) {
        auto* command = commandWith(*menu, keys);
        if (!command) continue;
        closePopups();
        command->trigger();
        return;
    }
    QMenu::keyPressEvent(event);
}

void PopupMenu::leaveEvent(QEvent* event) {
    QMenu::leaveEvent(event);
    highlight(activeAction());
}

// Makes room left of the titles of commands, so that they begin where those of check rows do.
void PopupMenu::initStyleOption(QStyleOptionMenuItem* option, const QAction* action) const {
    constexpr int kMarkWidth = 25;
    QMenu::initStyleOption(option, action);
    option->maxIconWidth = std::max(option->maxIconWidth, kMarkWidth);
}

}  // namespace kasto

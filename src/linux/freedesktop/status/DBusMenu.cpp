#include "linux/freedesktop/status/DBusMenu.h"

#include <QDBusMetaType>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>

namespace kasto::freedesktop {

bool MenuLayout::operator==(const MenuLayout& other) const {
    return id == other.id && properties == other.properties && children == other.children;
}

QDBusArgument& operator<<(QDBusArgument& out, const MenuLayout& layout) {
    out.beginStructure();
    out << layout.id << layout.properties;
    out.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const auto& child : layout.children) out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, MenuLayout& layout) {
    in.beginStructure();
    in >> layout.id >> layout.properties;
    in.beginArray();
    while (!in.atEnd()) {
        QDBusVariant child;
        in >> child;
        layout.children.append(qdbus_cast<MenuLayout>(child.variant()));
    }
    in.endArray();
    in.endStructure();
    return in;
}

namespace {

constexpr int kMaxTitleLength = 80;

QStringList keyNames(const KeyChord& chord) {
    QStringList names;
    if (chord.control) names << "Control";
    if (chord.option) names << "Alt";
    if (chord.shift) names << "Shift";
    if (chord.command) names << "Super";
    return names << QString::fromUcs4(&chord.key, 1);
}

QVariantMap propertiesOf(const MenuEntry& entry) {
    if (entry.isSeparator()) return {{"type", "separator"}};
    auto label = QString::fromStdString(entry.title);
    if (label.size() > kMaxTitleLength)
        label = label.left(kMaxTitleLength / 2) + u'…' + label.right(kMaxTitleLength / 2);
    QVariantMap properties{{"label", label.replace('_', "__")}, {"enabled", entry.isEnabled}};
    if (entry.isOn) {
        properties["toggle-type"] = entry.isChoice ? "radio" : "checkmark";
        properties["toggle-state"] = *entry.isOn ? 1 : 0;
    }
    if (!entry.submenu.empty()) properties["children-display"] = "submenu";
    if (entry.keyEquivalent)
        properties["shortcut"] = QVariant::fromValue(QList<QStringList>{keyNames(*entry.keyEquivalent)});
    return properties;
}

QVariantMap only(const QVariantMap& properties, const QStringList& names) {
    if (names.isEmpty()) return properties;
    QVariantMap wanted;
    for (const auto& name : names)
        if (properties.contains(name)) wanted[name] = properties[name];
    return wanted;
}

// A copy with `depth` levels of children (-1 = all) and only the named properties (none named = all).
MenuLayout pruned(const MenuLayout& layout, int depth, const QStringList& names) {
    MenuLayout part{layout.id, only(layout.properties, names), {}};
    if (depth == 0) return part;
    for (const auto& child : layout.children) part.children.append(pruned(child, depth - 1, names));
    return part;
}

}  // namespace

const QDBusObjectPath DBusMenu::kPath("/MenuBar");

DBusMenu::DBusMenu(std::function<std::vector<MenuEntry>()> menu) : menu_(std::move(menu)) {
    qDBusRegisterMetaType<MenuProperties>();
    qDBusRegisterMetaType<QList<MenuProperties>>();
    qDBusRegisterMetaType<RemovedProperties>();
    qDBusRegisterMetaType<QList<RemovedProperties>>();
    qDBusRegisterMetaType<MenuLayout>();
    qDBusRegisterMetaType<MenuEvent>();
    qDBusRegisterMetaType<QList<MenuEvent>>();
    qDBusRegisterMetaType<QList<QStringList>>();
}

bool DBusMenu::refresh() {
    entries_.clear();
    auto now = layoutOf(menu_(), 0, {{"children-display", "submenu"}}, {});
    if (now == root_) return false;
    root_ = std::move(now);
    emit LayoutUpdated(++revision_, 0);
    return true;
}

MenuLayout DBusMenu::layoutOf(const std::vector<MenuEntry>& entries, int id, QVariantMap properties,
                              const QString& name) {
    MenuLayout layout{id, std::move(properties), {}};
    int separators = 0;
    for (const auto& entry : entries) {
        const auto line =
            entry.isSeparator()
                ? QString::number(++separators)
                : QString::fromStdString(entry.title + '\n' + entry.rep.value_or(std::string()));
        const auto lineName = name + '\n' + line;
        const int number = numberOf(lineName);
        entries_[number] = entry;
        layout.children.append(layoutOf(entry.submenu, number, propertiesOf(entry), lineName));
    }
    return layout;
}

int DBusMenu::numberOf(const QString& name) {
    auto& number = numbers_[name];
    if (number == 0) number = static_cast<int>(numbers_.size());
    return number;
}

const MenuLayout* DBusMenu::find(const MenuLayout& from, int id) const {
    if (from.id == id) return &from;
    for (const auto& child : from.children)
        if (const auto* found = find(child, id)) return found;
    return nullptr;
}

QString DBusMenu::textDirection() const { return QGuiApplication::isRightToLeft() ? "rtl" : "ltr"; }

uint DBusMenu::GetLayout(int parentId, int depth, const QStringList& names, MenuLayout& layout) {
    if (revision_ == 0) refresh();
    if (const auto* found = find(root_, parentId)) layout = pruned(*found, depth, names);
    return revision_;
}

QList<MenuProperties> DBusMenu::GetGroupProperties(const QList<int>& ids, const QStringList& names) {
    QList<MenuProperties> group;
    for (const int id : ids)
        if (const auto* found = find(root_, id)) group.append({id, only(found->properties, names)});
    return group;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    const auto* found = find(root_, id);
    const auto value = found ? found->properties.value(name) : QVariant();
    return QDBusVariant(value.isValid() ? value : QVariant(QString()));
}

void DBusMenu::Event(int id, const QString& type, const QDBusVariant&, uint) {
    // From the event loop, because the chosen action may destroy this menu.
    if (type == "clicked") QTimer::singleShot(0, this, [this, id] { choose(id); });
}

void DBusMenu::choose(int id) {
    const auto entry = entries_.value(id);
    if (!entry.isEnabled) return;
    const QPointer<DBusMenu> self(this);
    if (entry.isOn) {
        entry.onToggle(!*entry.isOn);
    } else if (entry.action) {
        entry.action();
    }
    if (self) refresh();
}

QList<int> DBusMenu::EventGroup(const QList<MenuEvent>& events) {
    QList<int> unknownIds;
    for (const auto& event : events) {
        if (!find(root_, event.id)) unknownIds.append(event.id);
        Event(event.id, event.type, event.data, event.timestamp);
    }
    return unknownIds;
}

bool DBusMenu::AboutToShow(int id) { return id == 0 && refresh(); }

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& unknownIds) {
    QList<int> changed;
    unknownIds.clear();
    for (const int id : ids) {
        if (AboutToShow(id)) changed.append(id);
        if (!find(root_, id)) unknownIds.append(id);
    }
    return changed;
}

}  // namespace kasto::freedesktop

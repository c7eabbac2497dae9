#pragma once

#include "linux/freedesktop/BusRecord.h"
#include "platform/MenuEntry.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QHash>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <vector>

namespace kasto::freedesktop {

// The structures of the interface.
struct MenuProperties {
    int id = 0;
    QVariantMap properties;
    static auto fields(auto& self) { return std::tie(self.id, self.properties); }
};
struct RemovedProperties {
    int id = 0;
    QStringList names;
    static auto fields(auto& self) { return std::tie(self.id, self.names); }
};
struct MenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<MenuLayout> children;
    bool operator==(const MenuLayout& other) const;
};
struct MenuEvent {
    int id = 0;
    QString type;
    QDBusVariant data;
    uint timestamp = 0;
    static auto fields(auto& self) { return std::tie(self.id, self.type, self.data, self.timestamp); }
};
// Not a BusRecord, because its children are sent as variants.
QDBusArgument& operator<<(QDBusArgument& out, const MenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& in, MenuLayout& layout);

// A menu as com.canonical.dbusmenu, for hosts that draw it themselves. An entry's number depends on its title
// and its position in the submenus, so it stays the same when the menu is rebuilt, and a click on an entry
// that is no longer there does nothing. Main thread.
class DBusMenu final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    static const QDBusObjectPath kPath;

    // `menu` returns the present entries.
    explicit DBusMenu(std::function<std::vector<MenuEntry>()> menu);

    // Gets the present entries. True if they look different from before; hosts are told then.
    bool refresh();

    uint version() const { return 3; }
    QString status() const { return "normal"; }
    QString textDirection() const;
    QStringList iconThemePath() const { return {}; }

public slots:
    Q_SCRIPTABLE uint GetLayout(int parentId, int depth, const QStringList& names,
                                kasto::freedesktop::MenuLayout& layout);
    Q_SCRIPTABLE QList<kasto::freedesktop::MenuProperties> GetGroupProperties(const QList<int>& ids,
                                                                              const QStringList& names);
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name);
    Q_SCRIPTABLE void Event(int id, const QString& type, const QDBusVariant& data, uint timestamp);
    Q_SCRIPTABLE QList<int> EventGroup(const QList<kasto::freedesktop::MenuEvent>& events);
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& unknownIds);

signals:
    Q_SCRIPTABLE void ItemsPropertiesUpdated(const QList<kasto::freedesktop::MenuProperties>& updated,
                                             const QList<kasto::freedesktop::RemovedProperties>& removed);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parentId);
    Q_SCRIPTABLE void ItemActivationRequested(int id, uint timestamp);

private:
    MenuLayout layoutOf(const std::vector<MenuEntry>& entries, int id, QVariantMap properties,
                        const QString& name);
    const MenuLayout* find(const MenuLayout& from, int id) const;
    int numberOf(const QString& name);
    void choose(int id);

    const std::function<std::vector<MenuEntry>()> menu_;
    uint revision_ = 0;
    MenuLayout root_;
    QHash<int, MenuEntry> entries_;  // of root_, by number
    QHash<QString, int> numbers_;    // by title and position, of all entries that there ever were
};

}  // namespace kasto::freedesktop

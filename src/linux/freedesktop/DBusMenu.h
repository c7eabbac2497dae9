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

// The records of the interface.
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
// Its children are variants there.
QDBusArgument& operator<<(QDBusArgument& out, const MenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& in, MenuLayout& layout);

// A menu as com.canonical.dbusmenu, for hosts that draw it themselves. A line keeps its number for as long as
// it says the same, so that a click on a line that is gone finds nothing. Main thread.
class DBusMenu final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    static const QDBusObjectPath kPath;

    // `menu` tells the entries of this moment.
    explicit DBusMenu(std::function<std::vector<MenuEntry>()> menu);

    // Catches up with the entries; true, and hosts are told, if they look different now.
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
    QHash<int, MenuEntry> entries_;  // of root_, by their numbers
    QHash<QString, int> numbers_;    // of all lines there ever were
};

}  // namespace kasto::freedesktop

#pragma once

#include "linux/freedesktop/BusRecord.h"
#include "platform/Automation.h"

#include <QDBusAbstractAdaptor>
#include <QList>
#include <QStringList>
#include <QVariantMap>
#include <functional>

namespace kasto::freedesktop {

// The shortcuts that searches find, and what runs one.
struct SearchedShortcuts {
    std::vector<Shortcut> shortcuts;
    std::function<void(const std::string& actionId)> perform;

    const Shortcut* find(const QString& actionId) const;
};

// The search interface of GNOME Shell: finds identifiers, describes them and activates one.
class ShellSearchAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.SearchProvider2")

public:
    ShellSearchAdaptor(QObject* parent, const SearchedShortcuts& searched);

public slots:
    QStringList GetInitialResultSet(const QStringList& terms) const;
    QStringList GetSubsearchResultSet(const QStringList& previous, const QStringList& terms) const;
    QList<QVariantMap> GetResultMetas(const QStringList& identifiers) const;
    void ActivateResult(const QString& identifier, const QStringList& terms, uint timestamp) const;
    void LaunchSearch(const QStringList& terms, uint timestamp) const;

private:
    const SearchedShortcuts& searched_;
};

// A search result as KRunner defines it.
struct RunnerMatch {
    QString id;
    QString text;
    QString iconName;
    uint type = 0;
    double relevance = 0;
    QVariantMap properties;
    static auto fields(auto& self) {
        return std::tie(self.id, self.text, self.iconName, self.type, self.relevance, self.properties);
    }
};

// A further action on search results as KRunner defines it. The program offers none.
struct RunnerAction {
    QString id;
    QString text;
    QString iconName;
    static auto fields(auto& self) { return std::tie(self.id, self.text, self.iconName); }
};

// The search interface of KRunner.
class RunnerAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.krunner1")

public:
    RunnerAdaptor(QObject* parent, const SearchedShortcuts& searched);

public slots:
    QList<kasto::freedesktop::RunnerMatch> Match(const QString& query) const;
    QList<kasto::freedesktop::RunnerAction> Actions() const { return {}; }
    void Run(const QString& matchId, const QString& actionId) const;

private:
    const SearchedShortcuts& searched_;
};

}  // namespace kasto::freedesktop

Q_DECLARE_METATYPE(kasto::freedesktop::RunnerMatch)
Q_DECLARE_METATYPE(kasto::freedesktop::RunnerAction)

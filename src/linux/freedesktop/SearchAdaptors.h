#pragma once

#include "platform/Automation.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QList>
#include <QStringList>
#include <QVariantMap>
#include <functional>

namespace kasto::freedesktop {

// What the desktop shells' searches look through.
struct SearchedShortcuts {
    std::vector<Shortcut> shortcuts;
    std::function<void(const std::string& actionId)> perform;

    const Shortcut* find(const QString& actionId) const;
};

// The search of GNOME Shell: finds identifiers, describes them, activates one.
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

// A match as KRunner takes it.
struct RunnerMatch {
    QString id;
    QString text;
    QString iconName;
    uint type = 0;
    double relevance = 0;
    QVariantMap properties;
};

// A further action on matches; there are none.
struct RunnerAction {
    QString id;
    QString text;
    QString iconName;
};

QDBusArgument& operator<<(QDBusArgument& argument, const RunnerMatch& match);
const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerMatch& match);
QDBusArgument& operator<<(QDBusArgument& argument, const RunnerAction& action);
const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerAction& action);

// The search of KRunner.
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

#include "linux/freedesktop/automation/SearchAdaptors.h"

#include "linux/freedesktop/automation/ShortcutSearch.h"

#include <QDBusMetaType>
#include <algorithm>

namespace kasto::freedesktop {

namespace {

// KRunner's types of results.
constexpr uint kPossibleMatch = 30;
constexpr uint kExactMatch = 100;

}  // namespace

const Shortcut* SearchedShortcuts::find(const QString& actionId) const {
    const auto found = std::ranges::find(shortcuts, actionId.toStdString(), &Shortcut::actionId);
    return found == shortcuts.end() ? nullptr : &*found;
}

ShellSearchAdaptor::ShellSearchAdaptor(QObject* parent, const SearchedShortcuts& searched)
    : QDBusAbstractAdaptor(parent), searched_(searched) {
    qDBusRegisterMetaType<QList<QVariantMap>>();
}

QStringList ShellSearchAdaptor::GetInitialResultSet(const QStringList& terms) const {
    QStringList identifiers;
    for (const auto& match : findShortcuts(searched_.shortcuts, terms.join(' ')))
        identifiers.append(QString::fromStdString(match.shortcut->actionId));
    return identifiers;
}

QStringList ShellSearchAdaptor::GetSubsearchResultSet(const QStringList&, const QStringList& terms) const {
    return GetInitialResultSet(terms);
}

QList<QVariantMap> ShellSearchAdaptor::GetResultMetas(const QStringList& identifiers) const {
    QList<QVariantMap> metas;
    for (const auto& identifier : identifiers) {
        const auto* shortcut = searched_.find(identifier);
        if (!shortcut) continue;
        metas.append({{"id", identifier},
                      {"name", QString::fromStdString(shortcut->shortTitle)},
                      {"description", QString::fromStdString(shortcut->phrases.front())},
                      {"gicon", iconNameOf(*shortcut)}});
    }
    return metas;
}

void ShellSearchAdaptor::ActivateResult(const QString& identifier, const QStringList&, uint) const {
    if (searched_.find(identifier)) searched_.perform(identifier.toStdString());
}

// The program has no window that shows search results.
void ShellSearchAdaptor::LaunchSearch(const QStringList&, uint) const {}

RunnerAdaptor::RunnerAdaptor(QObject* parent, const SearchedShortcuts& searched)
    : QDBusAbstractAdaptor(parent), searched_(searched) {
    qDBusRegisterMetaType<RunnerMatch>();
    qDBusRegisterMetaType<QList<RunnerMatch>>();
    qDBusRegisterMetaType<RunnerAction>();
    qDBusRegisterMetaType<QList<RunnerAction>>();
}

QList<RunnerMatch> RunnerAdaptor::Match(const QString& query) const {
    QList<RunnerMatch> matches;
    for (const auto& match : findShortcuts(searched_.shortcuts, query)) {
        const auto& shortcut = *match.shortcut;
        matches.append({.id = QString::fromStdString(shortcut.actionId),
                        .text = QString::fromStdString(shortcut.shortTitle),
                        .iconName = iconNameOf(shortcut),
                        .type = match.relevance >= 1 ? kExactMatch : kPossibleMatch,
                        .relevance = match.relevance,
                        .properties = {{"subtext", QString::fromStdString(shortcut.phrases.front())}}});
    }
    return matches;
}

void RunnerAdaptor::Run(const QString& matchId, const QString&) const {
    if (searched_.find(matchId)) searched_.perform(matchId.toStdString());
}

}  // namespace kasto::freedesktop

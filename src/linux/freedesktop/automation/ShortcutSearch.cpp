#include "linux/freedesktop/automation/ShortcutSearch.h"

#include <QRegularExpression>
#include <QStringList>
#include <algorithm>

namespace kasto::freedesktop {

namespace {

constexpr qsizetype kMinLetters = 3;

QStringList wordsOf(const QString& text) {
    static const QRegularExpression between("[^\\p{L}\\p{N}]+");
    return text.toCaseFolded().split(between, Qt::SkipEmptyParts);
}

// The relevance of a text with all words of a phrase, of which some are only begun.
constexpr double kMaxIncomplete = 0.9;

// The relevance of a phrase for the typed words: 1 for the whole phrase, less for some of its words, 0 if a
// typed word is not in the phrase.
double fit(const QStringList& typed, QStringList phrase) {
    const auto words = phrase.size();
    bool isComplete = true;
    for (const auto& begun : typed) {
        const auto found = std::find_if(phrase.begin(), phrase.end(),
                                        [&](const QString& word) { return word.startsWith(begun); });
        if (found == phrase.end()) return 0;
        if (*found != begun) isComplete = false;
        phrase.erase(found);
    }
    if (isComplete && phrase.isEmpty()) return 1;
    return kMaxIncomplete * static_cast<double>(typed.size()) / static_cast<double>(words);
}

}  // namespace

std::vector<ShortcutMatch> findShortcuts(const std::vector<Shortcut>& shortcuts, const QString& text) {
    const auto typed = wordsOf(text);
    if (typed.join("").size() < kMinLetters) return {};
    std::vector<ShortcutMatch> found;
    for (const auto& shortcut : shortcuts) {
        double best = fit(typed, wordsOf(QString::fromStdString(shortcut.shortTitle)));
        for (const auto& phrase : shortcut.phrases)
            best = std::max(best, fit(typed, wordsOf(QString::fromStdString(phrase))));
        if (best > 0) found.push_back({&shortcut, best});
    }
    std::ranges::stable_sort(found, std::greater(), &ShortcutMatch::relevance);
    return found;
}

QString iconNameOf(const Shortcut& shortcut) {
    return shortcut.symbol == "stop.fill" ? "media-playback-stop" : "media-record";
}

}  // namespace kasto::freedesktop

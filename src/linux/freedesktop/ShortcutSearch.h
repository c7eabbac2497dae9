#pragma once

#include "platform/Automation.h"

#include <QString>
#include <vector>

namespace kasto::freedesktop {

// How well what somebody typed fits a shortcut.
struct ShortcutMatch {
    const Shortcut* shortcut = nullptr;
    double relevance = 0;  // above 0, and 1 for one of its phrases
};

// The shortcuts whose phrases, or short titles, hold every word of the text, in any order and each perhaps
// only begun; letters' case and the punctuation between words do not matter. The best come first. A text of
// fewer than three letters finds nothing.
std::vector<ShortcutMatch> findShortcuts(const std::vector<Shortcut>& shortcuts, const QString& text);

// The name of the icon that icon themes have for a shortcut's symbol.
QString iconNameOf(const Shortcut& shortcut);

}  // namespace kasto::freedesktop

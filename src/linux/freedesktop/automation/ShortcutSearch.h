#pragma once

#include "platform/Automation.h"

#include <QString>
#include <vector>

namespace kasto::freedesktop {

// A shortcut that a search found.
struct ShortcutMatch {
    const Shortcut* shortcut = nullptr;
    double relevance = 0;  // more than 0; 1 if the text is one of its phrases or its short title
};

// The shortcuts with a phrase or short title that contains every word of the text. The words may come in any
// order, and each may be only the beginning of a word of the phrase; case and punctuation do not matter. The
// most relevant come first. A text of fewer than three letters finds nothing.
std::vector<ShortcutMatch> findShortcuts(const std::vector<Shortcut>& shortcuts, const QString& text);

// The name of the icon for a shortcut in icon themes.
QString iconNameOf(const Shortcut& shortcut);

}  // namespace kasto::freedesktop

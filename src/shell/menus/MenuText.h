#pragma once

#include "platform/HotKeyService.h"

#include <QKeySequence>
#include <QString>
#include <string>

namespace kasto {

// The text as a single line for a menu: control characters and line breaks become spaces, and characters that
// change the direction of writing are isolated, so that they do not affect the words around the text.
QString singleLine(const std::string& text);

// The keys of the chord, as Qt wants them and as they are shown.
QKeySequence keySequence(const KeyChord& chord);
QString keyNames(const KeyChord& chord);  // "Ctrl+Alt+Super+R"

}  // namespace kasto

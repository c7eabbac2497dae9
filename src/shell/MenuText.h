#pragma once

#include "platform/HotKeyService.h"

#include <QKeySequence>
#include <QString>
#include <string>

namespace kasto {

// The text as one line that nothing in it can break: control characters become spaces, and marks of
// direction reach no further than its end.
QString singleLine(const std::string& text);

// The keys of the chord, for Qt and for people.
QKeySequence keySequence(const KeyChord& chord);
QString keyNames(const KeyChord& chord);  // "Ctrl+Alt+Super+R"

}  // namespace kasto

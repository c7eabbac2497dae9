#include "shell/menus/MenuText.h"

#include <QStringList>
#include <algorithm>

namespace kasto {

namespace {

bool turnsDirection(QChar character) {
    switch (character.direction()) {
        case QChar::DirR:
        case QChar::DirAL:
        case QChar::DirRLE:
        case QChar::DirRLO:
        case QChar::DirLRE:
        case QChar::DirLRO:
        case QChar::DirRLI:
        case QChar::DirLRI:
        case QChar::DirFSI:
            return true;
        default:
            return false;
    }
}

}  // namespace

QString singleLine(const std::string& text) {
    auto line = QString::fromStdString(text);
    for (auto& character : line)
        if (character.category() == QChar::Other_Control || character == QChar::LineSeparator ||
            character == QChar::ParagraphSeparator)
            character = u' ';
    if (!std::ranges::any_of(line, turnsDirection)) return line;
    constexpr QChar kFirstStrongIsolate = u'\u2068';
    constexpr QChar kPopIsolate = u'\u2069';
    return kFirstStrongIsolate + line + kPopIsolate;
}

QKeySequence keySequence(const KeyChord& chord) {
    int modifiers = 0;
    if (chord.control) modifiers |= Qt::ControlModifier;
    if (chord.option) modifiers |= Qt::AltModifier;
    if (chord.command) modifiers |= Qt::MetaModifier;
    if (chord.shift) modifiers |= Qt::ShiftModifier;
    return QKeySequence(modifiers | int(QChar::toUpper(chord.key)));
}

QString keyNames(const KeyChord& chord) {
    // Not QKeySequence::toString, which calls the Super key "Meta" and uses another order.
    QStringList names;
    if (chord.control) names << "Ctrl";
    if (chord.option) names << "Alt";
    if (chord.shift) names << "Shift";
    if (chord.command) names << "Super";
    return (names << QString::fromUcs4(&chord.key, 1).toUpper()).join('+');
}

}  // namespace kasto

#pragma once

#include <QByteArrayList>
#include <QString>

namespace Kavo::Ui {

/// Returns the text in a form in which letters that differ only by case, accents, strokes or
/// ligatures are equal.
QString foldedText(const QString &text);

/// Returns the words of a text, folded, in UTF-8. Words are separated by white space; punctuation
/// at their ends is removed, and pure punctuation is not a word.
QByteArrayList foldedWords(const QString &text);

} // namespace Kavo::Ui

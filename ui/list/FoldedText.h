#pragma once

#include <QByteArrayList>
#include <QString>

namespace Kavo::Ui {

/// The text in the one form in which letters that differ by case, accents, strokes or ligatures
/// are the same.
QString foldedText(const QString &text);

/// The words of a text, folded, in UTF-8. A word is what stands between blanks, without the
/// punctuation at its ends; what is nothing but punctuation is none.
QByteArrayList foldedWords(const QString &text);

} // namespace Kavo::Ui

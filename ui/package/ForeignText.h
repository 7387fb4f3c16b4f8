#pragma once

#include <QString>

class QLabel;

namespace Kavo::Ui {

/// Makes rich text from the catalogue safe for a box or a label.
///
/// Qt would read any local file that a text names as a picture, a background or a style sheet,
/// completely and at once, even a device without end. The result names no files, and links only to
/// web pages. A text that names nothing else is returned unchanged; otherwise pictures, backgrounds
/// and style sheets are left out and other links become plain text. A very long text is truncated,
/// because a label lays out its whole text for every size hint. A text with very deep nesting is
/// shown as plain text.
QString foreignRichText(const QString &text);

/// The same for a label that detects rich text by itself. Very long words get break opportunities,
/// so that they do not widen a wrapping label.
QString foreignText(const QString &text);

/// The readable part of a text from the catalogue as foreignText() would pass it to a label,
/// without markup. Reads no file either.
QString foreignPlainText(const QString &text);

/// Shows a text made by one of the functions above. Its links can be opened in the browser by mouse
/// and keyboard.
void showForeignText(QLabel &label, const QString &text);

} // namespace Kavo::Ui

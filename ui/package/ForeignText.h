#pragma once

#include <QString>

class QLabel;

namespace Kavo::Ui {

/// What a box or a label may be given of a catalogue's text that is meant to be rich.
///
/// Nothing in it makes Qt read a file: it would read whatever local path a picture, a background or
/// a style sheet names, whole and at once, be it a device without an end. Links lead to web pages
/// only. A text that names nothing else comes back letter for letter; in another one pictures,
/// backgrounds and style sheets are left out, and other links are plain text. A text without
/// measure is cut, because a label lays out its whole text at every question about its size, and
/// one whose elements are nested without measure is shown as it is written.
QString foreignRichText(const QString &text);

/// The same for a label that finds out whether a text is rich. Words without a place to break them
/// get one, so that they do not widen a label that wraps.
QString foreignText(const QString &text);

/// What there is to read of a catalogue's text that a label would be given by foreignText(),
/// without its markup. Reads no file either.
QString foreignPlainText(const QString &text);

/// Shows a text made by one of the functions above. Its links open in the browser, with the mouse
/// and with the keyboard.
void showForeignText(QLabel &label, const QString &text);

} // namespace Kavo::Ui

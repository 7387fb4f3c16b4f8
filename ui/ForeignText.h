#pragma once

#include <QString>

namespace Kavo::Ui {

/// What a label may be given of a catalogue's text that is meant to be rich.
///
/// Pictures and style sheets are left out: Qt would read whatever local path they name, whole and
/// at once, be it a device without an end. A text that refers to files in some other way is shown
/// as it is written. One without measure is cut, because a label lays out its whole text at every
/// question about its size.
QString foreignRichText(const QString &text);

} // namespace Kavo::Ui

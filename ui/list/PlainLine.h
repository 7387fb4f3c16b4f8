#pragma once

#include <QString>

namespace Kavo::Ui {

/// The beginning of a catalogue's text that may be rich, on one line and without its markup.
///
/// What counts as rich is what a label takes for it. Neither pictures nor style sheets are loaded.
/// Of a rich text only as much is read as one line could ever show.
QString plainLine(const QString &text);

} // namespace Kavo::Ui

#pragma once

#include <QString>

namespace Kavo::Ui {

/// Returns the beginning of a text from the catalogue on one line, without its markup if it is rich
/// text.
///
/// A text is rich if QLabel would treat it as rich. No pictures or style sheets are loaded. Of a
/// rich text only as much is parsed as one line could show.
QString plainLine(const QString &text);

} // namespace Kavo::Ui

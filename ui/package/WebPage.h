#pragma once

class QString;
class QUrl;

namespace Kavo::Ui {

/// Whether an address from the catalogue may be opened: a page of a web server. Anything else would
/// have the desktop run what a catalogue names.
bool isWebPage(const QUrl &url);

/// Opens the page in the user's browser. An address that is no page is logged and not opened.
void openWebPage(const QString &address);

} // namespace Kavo::Ui

#pragma once

class QString;
class QUrl;

namespace Kavo::Ui {

/// Whether an address from the catalogue may be opened, that is whether it is a web page. For any
/// other address the desktop might run a program.
bool isWebPage(const QUrl &url);

/// Opens the page in the user's browser. An address that is not a web page is logged and not
/// opened.
void openWebPage(const QString &address);

} // namespace Kavo::Ui

#include "ui/package/WebPage.h"

#include "core/Log.h"

#include <QDesktopServices>
#include <QString>
#include <QUrl>

namespace Kavo::Ui {

bool isWebPage(const QUrl &url)
{
    return !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}

void openWebPage(const QString &address)
{
    const QUrl url(address, QUrl::TolerantMode);
    if (isWebPage(url))
        QDesktopServices::openUrl(url);
    else
        logLine(QStringLiteral("Skipping address : ") + address);
}

} // namespace Kavo::Ui

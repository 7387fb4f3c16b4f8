#include "tools/publish/ArchiveAddress.h"

#include <QUrl>

namespace Kavo::Tools {

QString addressIn(const QString &folder, const QString &fileName)
{
    const QString name = QString::fromLatin1(QUrl::toPercentEncoding(fileName));
    const QLatin1String slash(folder.endsWith(QLatin1Char('/')) ? "" : "/");
    return folder + slash + name;
}

QString addressBeside(const QString &link, const QString &version, const QString &fileName)
{
    const QUrl url(link);
    const bool isPlain = url.isValid() && !url.hasQuery() && !url.hasFragment();
    if (!isPlain || url.host().isEmpty() || url.fileName().isEmpty())
        return QString();
    const QString folder = link.section(QLatin1Char('/'), 0, -2);
    return folder.contains(version) ? QString() : addressIn(folder, fileName);
}

} // namespace Kavo::Tools

#include "tools/probe/ServerAddress.h"

#include "packages/catalogue/CatalogueFeed.h"

namespace Kavo::Tools {

namespace {

QString faultOf(const QUrl &url)
{
    if (!url.isValid())
        return QStringLiteral("it cannot be read as an address");
    if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https"))
        return QStringLiteral("it does not begin with http:// or https://");
    if (url.host().isEmpty())
        return QStringLiteral("it names no server");
    if (!url.userInfo().isEmpty())
        return QStringLiteral("it has a user name, which everybody could read in the program");
    if (url.hasQuery() || url.hasFragment())
        return QStringLiteral("something follows the path, and packages.json could not");
    return {};
}

} // namespace

ServerAddress ServerAddress::of(const QString &text)
{
    const QString file = QStringLiteral("/packages.json");
    const QString trimmed = text.trimmed();
    const QString server = trimmed.endsWith(file) ? trimmed.chopped(file.size()) : trimmed;
    const QString fault = faultOf(QUrl(server));
    if (!fault.isEmpty())
        return {QUrl(), fault};
    return {QUrl(Models::CatalogueFeed::addressOn(server)), QString()};
}

} // namespace Kavo::Tools

#include "packages/catalogue/CatalogueFeed.h"

#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/Download.h"
#include "downloads/DownloadManager.h"

#include <QDir>
#include <QTimer>

#include <chrono>
#include <utility>

namespace Kavo::Models {

namespace {

// Fixed, see docs/compatibility.md.
constexpr std::chrono::milliseconds LocalDelay{1000};

QString fileName()
{
    return QStringLiteral("packages.json");
}

} // namespace

CatalogueFeed::CatalogueFeed(const QSharedPointer<Settings> &settings,
                             const QSharedPointer<Managers::DownloadManager> &downloads,
                             QString server, qint64 largestSize, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_downloads(downloads)
    , m_server(std::move(server))
    , m_largestSize(largestSize)
{}

QString CatalogueFeed::addressOn(const QString &server)
{
    const bool isFolder = server.endsWith(QLatin1Char('/'));
    return (isFolder ? server : server + QLatin1Char('/')) + fileName();
}

void CatalogueFeed::request()
{
    if (m_settings->usesLocalRepository()) {
        // The folder ends in a separator already; this is a second one.
        // Fixed, see docs/compatibility.md.
        const QString path = applicationDirectory() + QDir::separator() + fileName();
        QTimer::singleShot(LocalDelay, this, [this, path] { emit available(path); });
    } else {
        requestFromServer();
    }
}

void CatalogueFeed::requestFromServer()
{
    const auto download = QSharedPointer<Download>::create(addressOn(m_server), true, true);
    download->setLargestSize(m_largestSize);
    // A refresh always asks the server.
    download->setAlwaysAsked(true);
    connect(download.data(), &Download::error, this,
            [this, source = download.data()](const QString &message) {
                // The transfer still ends, but without a catalogue.
                disconnect(source, nullptr, this, nullptr);
                emit failed(message);
            });
    connect(download.data(), &Download::finished, this, &CatalogueFeed::available);
    m_downloads->add(download, false);
}

} // namespace Kavo::Models

#include "packages/CatalogueFeed.h"

#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/DownloadManager.h"

#include <QDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Kavo::Models {

namespace {

constexpr std::chrono::milliseconds LocalDelay{1000};

QString fileName()
{
    return QStringLiteral("packages.json");
}

} // namespace

CatalogueFeed::CatalogueFeed(const QSharedPointer<Settings> &settings,
                             const QSharedPointer<Managers::DownloadManager> &downloads,
                             QString server, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_downloads(downloads)
    , m_server(std::move(server))
{
    if (!m_server.endsWith(QLatin1Char('/')))
        m_server += QLatin1Char('/');
}

void CatalogueFeed::request()
{
    if (m_settings->usesLocalRepository()) {
        // The folder's own separator and one more.
        const QString path = applicationDirectory() + QDir::separator() + fileName();
        QTimer::singleShot(LocalDelay, this, [this, path] { emit available(path); });
    } else {
        requestFromServer();
    }
}

void CatalogueFeed::requestFromServer()
{
    const auto download = QSharedPointer<Download>::create(m_server + fileName(), true, true);
    download->setPath(freePath());
    m_requested.append(download.toWeakRef());
    connect(download.data(), &Download::error, this,
            [this, source = download.data()](const QString &message) {
                // The transfer still comes to its end, but there is no catalogue in it.
                disconnect(source, nullptr, this, nullptr);
                emit failed(message);
            });
    connect(download.data(), &Download::finished, this, &CatalogueFeed::available);
    m_downloads->add(download, false);
}

/// A request must not write into the file of an earlier one that still waits for its server.
QString CatalogueFeed::freePath()
{
    const QString folder = m_settings->current(Settings::CACHE) + QDir::separator();
    const auto isFree = [this](const QString &path) {
        return std::none_of(m_requested.cbegin(), m_requested.cend(),
                            [&path](const QWeakPointer<Download> &known) {
                                const QSharedPointer<Download> other = known.toStrongRef();
                                return other && other->getPath() == path;
                            });
    };
    m_requested.erase(
        std::remove_if(m_requested.begin(), m_requested.end(),
                       [](const QWeakPointer<Download> &known) { return known.isNull(); }),
        m_requested.end());
    QString path = folder + fileName();
    for (int number = 0; !isFree(path); ++number)
        path = folder + fileName() + QLatin1Char('.') + QString::number(number);
    return path;
}

} // namespace Kavo::Models

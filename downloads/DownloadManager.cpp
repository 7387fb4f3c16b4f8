#include "downloads/DownloadManager.h"

#include "core/Paths.h"
#include "core/Settings.h"
#include "downloads/Transfer.h"

#include <QCryptographicHash>
#include <QDir>
#include <QNetworkAccessManager>

#include <algorithm>
#include <utility>

namespace Kavo::Managers {

using Models::Download;

namespace {

const char *const Schema =
    "CREATE TABLE IF NOT EXISTS downloads (id        INTEGER        PRIMARY KEY AUTOINCREMENT,"
    "url       VARCHAR (1024) UNIQUE,timestamp DATETIME       DEFAULT CURRENT_TIMESTAMP);";

/// A short text that stays the same for one address, so that a later run resumes the same file.
QString addressMark(const QUrl &url)
{
    const QByteArray hash =
        QCryptographicHash::hash(url.toEncoded(), QCryptographicHash::Sha1).toHex().left(8);
    return QString::fromLatin1(hash);
}

} // namespace

DownloadManager::DownloadManager(const QSharedPointer<Settings> &settings,
                                 const QSharedPointer<QNetworkAccessManager> &network,
                                 QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_network(network)
    , m_cacheFolder(settings->current(Settings::CACHE))
    , m_database(QStringLiteral("DownloadDatabaseConnection"), QStringLiteral("download.db"))
{
    ensureDirectory(m_cacheFolder, true);
    m_database.open(QLatin1String(Schema));
}

DownloadManager::~DownloadManager() = default;

void DownloadManager::add(const DownloadPointer &download, bool hold)
{
    if (m_queuedIds.contains(download->getId()))
        return;
    if (download->getPath().isEmpty())
        download->setPath(freePath(*download));
    m_queue.append(download);
    m_queuedIds.insert(download->getId());
    watchIdleness(download);
    m_known[download->getPath()].append(download.toWeakRef());
    if (!hold)
        start();
}

void DownloadManager::start()
{
    // Listeners may add and remove downloads while they are told of a phase.
    const auto idle = std::exchange(m_idle, {});
    for (const QWeakPointer<Download> &candidate : idle) {
        const DownloadPointer download = candidate.toStrongRef();
        if (download && m_queuedIds.contains(download->getId()) &&
            download->getProcess() == Download::Process::Idle)
            run(download);
    }
}

DownloadManager::DownloadPointer DownloadManager::find(const QString &url) const
{
    const QUrl address(url);
    const auto found =
        std::find_if(m_queue.cbegin(), m_queue.cend(), [&address](const DownloadPointer &download) {
            return download->getRequest()->url() == address;
        });
    return found == m_queue.cend() ? DownloadPointer() : *found;
}

void DownloadManager::remove(const DownloadPointer &download)
{
    const auto found =
        std::find_if(m_queue.begin(), m_queue.end(), [&download](const DownloadPointer &other) {
            return other->getId() == download->getId();
        });
    if (found == m_queue.end())
        return;
    m_queuedIds.remove((*found)->getId());
    disconnect(found->data(), nullptr, this, nullptr);
    m_queue.erase(found);
}

void DownloadManager::clear()
{
    m_database.removeFile();
}

QString DownloadManager::freePath(Download &download)
{
    const QString path = m_cacheFolder + QDir::separator() + download.getFileName();
    if (!isTaken(path, download))
        return path;
    return path + QLatin1Char('.') + addressMark(download.getRequest()->url());
}

bool DownloadManager::isTaken(const QString &path, const Download &newcomer)
{
    const auto writers = m_known.find(path);
    if (writers == m_known.end())
        return false;
    writers->erase(
        std::remove_if(writers->begin(), writers->end(),
                       [](const QWeakPointer<Download> &writer) { return writer.isNull(); }),
        writers->end());
    const QUrl address = newcomer.getRequest()->url();
    return std::any_of(writers->cbegin(), writers->cend(),
                       [&address](const QWeakPointer<Download> &writer) {
                           const DownloadPointer other = writer.toStrongRef();
                           return other && other->getRequest()->url() != address;
                       });
}

void DownloadManager::watchIdleness(const DownloadPointer &download)
{
    const auto note = [this, weak = download.toWeakRef()] {
        const DownloadPointer changed = weak.toStrongRef();
        if (changed && changed->getProcess() == Download::Process::Idle)
            m_idle.append(weak);
    };
    connect(download.data(), &Download::processChanged, this, note);
    note();
}

void DownloadManager::run(const DownloadPointer &download)
{
    auto *transfer = new Transfer(*m_network, download, this);
    connect(transfer, &Transfer::ended, this, [this, download] { remove(download); });
    transfer->start();
}

} // namespace Kavo::Managers

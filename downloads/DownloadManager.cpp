#include "downloads/DownloadManager.h"

#include "core/Settings.h"
#include "downloads/AnswerCache.h"
#include "downloads/Transfer.h"

#include <QNetworkAccessManager>

#include <algorithm>
#include <utility>

namespace Kavo::Managers {

using Models::Download;

namespace {

// Fixed, see docs/compatibility.md.
const char *const Schema =
    "CREATE TABLE IF NOT EXISTS downloads (id        INTEGER        PRIMARY KEY AUTOINCREMENT,"
    "url       VARCHAR (1024) UNIQUE,timestamp DATETIME       DEFAULT CURRENT_TIMESTAMP);";

} // namespace

DownloadManager::DownloadManager(const QSharedPointer<Settings> &settings,
                                 const QSharedPointer<QNetworkAccessManager> &network,
                                 QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_network(network)
    // Fixed, see docs/compatibility.md.
    , m_cacheFolder(settings->current(Settings::CACHE))
    , m_database(QStringLiteral("DownloadDatabaseConnection"), QStringLiteral("download.db"))
{
    m_database.open(QLatin1String(Schema));
    m_network->setCache(new AnswerCache(AnswerCache::defaultFolder()));
}

DownloadManager::~DownloadManager() = default;

void DownloadManager::add(const DownloadPointer &download, bool hold)
{
    if (m_queuedIds.contains(download->getId()))
        return;
    m_cacheFolder.settle(download);
    m_queue.append(download);
    m_queuedIds.insert(download->getId());
    watchIdleness(download);
    if (!hold)
        start();
}

void DownloadManager::start()
{
    // Listeners may add and remove downloads while they handle a change of phase.
    const auto idle = std::exchange(m_idle, {});
    for (const QWeakPointer<Download> &candidate : idle) {
        const DownloadPointer download = candidate.toStrongRef();
        if (!download || !m_queuedIds.contains(download->getId()) ||
            download->getProcess() != Download::Process::Idle)
            continue;
        if (download->isPatient()) {
            m_patient.append(download);
            startPatient(PatientQueue::hostOf(*download));
        } else {
            run(download);
        }
    }
}

void DownloadManager::prefer(const DownloadPointer &download, bool preferred)
{
    m_patient.prefer(*download, preferred);
    startPatient(PatientQueue::hostOf(*download));
}

void DownloadManager::startPatient(const QString &host)
{
    while (const DownloadPointer download = m_patient.take(host)) {
        if (download->isAwaited()) {
            run(download);
        } else {
            m_patient.ended(*download);
            remove(download);
        }
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
    m_patient.remove(**found);
    disconnect(found->data(), nullptr, this, nullptr);
    m_queue.erase(found);
}

void DownloadManager::clear()
{
    m_database.removeFile();
    if (QAbstractNetworkCache *cache = m_network->cache())
        cache->clear();
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
    const QString file = m_cacheFolder.beginWriting(*download);
    auto *transfer = new Transfer(*m_network, download, file, this);
    connect(transfer, &Transfer::ended, this, [this, download] { remove(download); });
    connect(transfer, &Transfer::fileSettled, this,
            [this, file] { m_cacheFolder.endWriting(file); });
    if (download->isPatient()) {
        connect(transfer, &Transfer::fileSettled, this, [this, download] {
            m_patient.ended(*download);
            startPatient(PatientQueue::hostOf(*download));
        });
    } else {
        // If all connections of the host are in use, these get the next free one.
        download->getRequest()->setPriority(QNetworkRequest::HighPriority);
    }
    transfer->start();
}

} // namespace Kavo::Managers

#pragma once

#include "core/DatabaseFile.h"
#include "downloads/CacheFolder.h"
#include "downloads/Download.h"
#include "downloads/PatientQueue.h"

#include <QList>
#include <QObject>
#include <QSet>
#include <QSharedPointer>
#include <QUuid>
#include <QVector>
#include <QWeakPointer>

class QNetworkAccessManager;

namespace Kavo {
class Settings;
}

namespace Kavo::Managers {

/// Runs every HTTP transfer of the program and keeps the queue of those not yet ended.
///
/// The manager has no signals: callers create a download, hand it in and follow its own signals.
/// Every idle download starts at once, with the network access manager's limit of connections to
/// one host as the only throttle, but for patient ones: a few of one host at a time, so that the
/// others find a connection (PatientQueue). Nothing is persisted but the files: a later run resumes
/// from what lies in the cache folder, and need not fetch again what starts over and has not
/// changed (AnswerCache). Main thread.
class DownloadManager final : public QObject
{
    Q_OBJECT

public:
    using DownloadPointer = QSharedPointer<Models::Download>;

    /// Copies the cache folder from the settings, makes sure that it exists, opens "download.db"
    /// and gives the network access manager its cache. A folder or database that cannot be made
    /// is logged at most.
    DownloadManager(const QSharedPointer<Settings> &settings,
                    const QSharedPointer<QNetworkAccessManager> &network,
                    QObject *parent = nullptr);
    ~DownloadManager() override;

    /// Queues a download and, unless `hold` is set, starts what is idle. One that is queued
    /// already is left alone. A download without a path gets one in the cache folder: the name of
    /// its address, or a name beside it as long as a live download of another address has that.
    /// Several restarting downloads of one path each bring a whole file there: whoever is told
    /// finished() finds one.
    void add(const DownloadPointer &download, bool hold);

    /// Starts every idle download, patient ones in their turn; may be called any number of times.
    void start();

    /// Has a patient download that still waits go out before the others, or among them again.
    void prefer(const DownloadPointer &download, bool preferred);

    /// First queued download of this address, or null.
    DownloadPointer find(const QString &url) const;

    /// Takes a download out of the queue without stopping it.
    void remove(const DownloadPointer &download);

    /// Deletes the database file, which is made anew at the next start of the program, and what
    /// is kept of the servers' answers.
    void clear();

private:
    void watchIdleness(const DownloadPointer &download);
    void startPatient(const QString &host);
    void run(const DownloadPointer &download);

    QSharedPointer<Settings> m_settings;
    QSharedPointer<QNetworkAccessManager> m_network;
    CacheFolder m_cacheFolder;
    QList<DownloadPointer> m_queue;
    // With thousands of downloads a walk through the queue for each of them would show.
    QSet<QUuid> m_queuedIds;
    /// What was idle when it was last heard of.
    QVector<QWeakPointer<Models::Download>> m_idle;
    PatientQueue m_patient;
    DatabaseFile m_database;
};

} // namespace Kavo::Managers

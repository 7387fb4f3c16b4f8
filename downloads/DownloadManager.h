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

/// Runs all HTTP transfers of the program and keeps the queue of those that have not ended.
///
/// The manager has no signals: a caller creates a download, adds it and follows the download's own
/// signals. Every idle download starts at once. The only limit is the number of connections per
/// host of the network access manager. Patient downloads start a few at a time for each host, so
/// that others find a free connection (PatientQueue). Only files outlive the program: a later run
/// resumes from the cache folder, and restarting downloads that have not changed come from
/// AnswerCache. Main thread.
class DownloadManager final : public QObject
{
    Q_OBJECT

public:
    using DownloadPointer = QSharedPointer<Models::Download>;

    /// Takes the cache folder from the settings, creates it, opens "download.db" and gives the
    /// network access manager its cache. A folder or database that cannot be created is at most
    /// logged.
    DownloadManager(const QSharedPointer<Settings> &settings,
                    const QSharedPointer<QNetworkAccessManager> &network,
                    QObject *parent = nullptr);
    ~DownloadManager() override;

    /// Adds a download to the queue and, unless `hold` is set, starts all idle ones. A download
    /// that is in the queue already is not added again. A download without a path gets one in the
    /// cache folder: the file name of its address, or a name next to it while a live download of
    /// another address has that name. If several restarting downloads have the same path, each of
    /// them puts a complete file there: after finished() the file always exists.
    void add(const DownloadPointer &download, bool hold);

    /// Starts every idle download, patient ones in turn. May be called any number of times.
    void start();

    /// Moves a waiting patient download ahead of the others, or back to its place among them.
    void prefer(const DownloadPointer &download, bool preferred);

    /// First queued download of this address, or null.
    DownloadPointer find(const QString &url) const;

    /// Removes a download from the queue without stopping it.
    void remove(const DownloadPointer &download);

    /// Deletes the database file, which is created again at the next start of the program, and the
    /// cached answers.
    void clear();

private:
    void watchIdleness(const DownloadPointer &download);
    void startPatient(const QString &host);
    void run(const DownloadPointer &download);

    QSharedPointer<Settings> m_settings;
    QSharedPointer<QNetworkAccessManager> m_network;
    CacheFolder m_cacheFolder;
    QList<DownloadPointer> m_queue;
    // An index; with thousands of downloads a search of the queue for each of them would be slow.
    QSet<QUuid> m_queuedIds;
    /// The downloads that were idle when they were last looked at.
    QVector<QWeakPointer<Models::Download>> m_idle;
    PatientQueue m_patient;
    DatabaseFile m_database;
};

} // namespace Kavo::Managers

#pragma once

#include <QByteArray>
#include <QNetworkRequest>
#include <QObject>
#include <QString>
#include <QUuid>

#include <memory>

namespace Kavo::Models {

/// One file transfer: its request, its target file, its progress and its phase. It does no
/// networking; DownloadManager runs it:
///
///     Idle -> Header -> Download -> Finished     resumable
///     Idle -> Header -> Finished                 resumable, file already complete
///     Idle -> Download -> Finished               restart
///
/// A network error, or bytes that could not be written, are announced by error(). An error is
/// final: the transfer still ends in Finished, but listeners ignore everything that follows. All
/// sizes are in bytes. Main thread.
class Download final : public QObject
{
    Q_OBJECT

public:
    /// Fixed, see docs/compatibility.md.
    enum class Process : int {
        Idle = 0,
        Header = 1,   ///< a HEAD request asks for the size
        Download = 2, ///< the GET request is running
        Finished = 3,
    };

    Download(const QString &url, bool overwrite, bool restart, QObject *parent = nullptr);
    ~Download() override;

    QNetworkRequest *getRequest() const { return m_request.get(); }

    Process getProcess() const { return m_process; }
    /// Always announces the phase; Finished also announces finished() with the path.
    void setProcess(Process process);

    /// The total size, 0 while it is unknown. The setters always announce it.
    qint64 getFileSize() const { return m_fileSize; }
    void setFileSize(qint64 size);
    /// The largest size that the file may have, 0 for no limit. A larger file is an error.
    qint64 getLargestSize() const { return m_largestSize; }
    void setLargestSize(qint64 size) { m_largestSize = size; }
    /// The present size of the local file.
    qint64 getCurrentSize() const { return m_currentSize; }
    void setCurrentSize(qint64 size);

    /// The full path of the target file, empty until it is chosen.
    QString getPath() const { return m_path; }
    void setPath(const QString &path) { m_path = path; }

    /// Whether the content is hashed while it is written.
    bool isHashed() const { return m_isHashed; }
    void setHashed(bool hashed) { m_isHashed = hashed; }
    /// The SHA-256 of the file after Finished; empty unless the content was hashed and arrived in
    /// one transfer.
    QByteArray getDigest() const { return m_digest; }
    void setDigest(const QByteArray &digest) { m_digest = digest; }

    QUuid getId() const { return m_id; }

    /// Whether the transfer starts over: without a size probe or resumption, and an existing file
    /// is removed first.
    bool isRestart() const { return m_restart; }
    void setRestart(bool restart) { m_restart = restart; }

    /// Whether the server is asked even while its cached answer is fresh. Only matters for
    /// transfers that start over.
    bool isAlwaysAsked() const { return m_isAlwaysAsked; }
    void setAlwaysAsked(bool asked) { m_isAlwaysAsked = asked; }

    /// Whether the transfer may wait for others of its host, as the thousands of icons do. A
    /// waiting transfer without listeners is not started.
    bool isPatient() const { return m_isPatient; }
    void setPatient(bool patient) { m_isPatient = patient; }
    /// Whether anybody listens to finished().
    bool isAwaited() const;

    /// The file name at the end of an address, empty if it has none.
    static QString fileNameIn(const QUrl &url);
    /// The local file name for the address, chosen at the first call.
    QString getFileName();

    /// Announces the present state again for a listener that was connected late.
    void announce();

    /// Whether an error was announced in the present phase. A download that is Finished then has
    /// no usable file.
    bool hasFailed() const { return m_hasFailed; }

    /// Reports an error of this transfer: logs the detail and announces "Server Error".
    void fail(const QString &message);

signals:
    /// The order is fixed, see docs/compatibility.md.
    void fileSize(qint64 size);
    void currentSize(qint64 size);
    void finished(QString path);
    void error(QString error);
    void processChanged(Kavo::Models::Download::Process process);

private:
    std::unique_ptr<QNetworkRequest> m_request;
    Process m_process = Process::Idle;
    QString m_fileName;
    qint64 m_fileSize = 0;
    QUuid m_id;
    bool m_overwrite;
    QString m_path;
    qint64 m_currentSize = 0;
    bool m_restart;
    qint64 m_largestSize = 0;
    bool m_isHashed = false;
    bool m_isAlwaysAsked = false;
    bool m_isPatient = false;
    bool m_hasFailed = false;
    QByteArray m_digest;
};

} // namespace Kavo::Models

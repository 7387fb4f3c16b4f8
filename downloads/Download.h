#pragma once

#include <QByteArray>
#include <QNetworkRequest>
#include <QObject>
#include <QString>
#include <QUuid>

#include <memory>

namespace Kavo::Models {

/// One file transfer: the request to send, where the bytes go, how far it has come and in which
/// phase it is. It does no networking; the download manager drives it:
///
///     Idle -> Header -> Download -> Finished     resumable
///     Idle -> Header -> Finished                 resumable, file already complete
///     Idle -> Download -> Finished               restart
///
/// An error, of the network or because bytes could not be written, is announced by error() and is
/// final: the transfer still ends in Finished, and listeners ignore all that follows an error. All
/// sizes are bytes. Main thread.
class Download final : public QObject
{
    Q_OBJECT

public:
    /// Fixed, see docs/compatibility.md.
    enum class Process : int {
        Idle = 0,
        Header = 1,   ///< a HEAD request is out to learn the size
        Download = 2, ///< the GET request is running
        Finished = 3,
    };

    Download(const QString &url, bool overwrite, bool restart, QObject *parent = nullptr);
    ~Download() override;

    QNetworkRequest *getRequest() const { return m_request.get(); }

    Process getProcess() const { return m_process; }
    /// Always announces the phase; Finished also announces finished() with the path.
    void setProcess(Process process);

    /// Total size, 0 while it is not known. The setters always announce.
    qint64 getFileSize() const { return m_fileSize; }
    void setFileSize(qint64 size);
    /// The most bytes that the file may have, 0 for any number. One that has more is an error.
    qint64 getLargestSize() const { return m_largestSize; }
    void setLargestSize(qint64 size) { m_largestSize = size; }
    /// Bytes that the local file holds so far.
    qint64 getCurrentSize() const { return m_currentSize; }
    void setCurrentSize(qint64 size);

    /// Full local path of the target file, empty until it is settled.
    QString getPath() const { return m_path; }
    void setPath(const QString &path) { m_path = path; }

    /// Whether the content is to be hashed while it is written.
    bool isHashed() const { return m_isHashed; }
    void setHashed(bool hashed) { m_isHashed = hashed; }
    /// The SHA-256 of the file, once Finished; empty unless it was hashed and came whole in one go.
    QByteArray getDigest() const { return m_digest; }
    void setDigest(const QByteArray &digest) { m_digest = digest; }

    QUuid getId() const { return m_id; }

    /// Whether the transfer starts over: no size probe, no resumption, an existing file goes first.
    bool isRestart() const { return m_restart; }
    void setRestart(bool restart) { m_restart = restart; }

    /// Whether the server is asked each time, even when it has said for how long its answer may be
    /// used. Only transfers that start over go by that at all.
    bool isAlwaysAsked() const { return m_isAlwaysAsked; }
    void setAlwaysAsked(bool asked) { m_isAlwaysAsked = asked; }

    /// Whether the transfer may wait for others of its host, as pictures do of which there are
    /// thousands. One that nobody awaits any more when its turn comes is not begun.
    bool isPatient() const { return m_isPatient; }
    void setPatient(bool patient) { m_isPatient = patient; }
    /// Whether anybody listens to finished().
    bool isAwaited() const;

    /// The name of the file that an address ends in, empty when it ends in none.
    static QString fileNameIn(const QUrl &url);
    /// Local file name for the address, chosen at the first call.
    QString getFileName();

    /// Repeats the present state for a listener that came late.
    void announce();

    /// Whether an error was announced in the present phase. A download that is Finished then has
    /// no usable file.
    bool hasFailed() const { return m_hasFailed; }

    /// Reports an error of this transfer: the detail to the log, "Server Error" to the listeners.
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

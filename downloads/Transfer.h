#pragma once

#include "downloads/Download.h"

#include <QByteArray>
#include <QFile>
#include <QObject>
#include <QSharedPointer>

class QNetworkAccessManager;
class QNetworkReply;

namespace Kavo::Managers {

/// Takes one download from Idle to Finished over the network:
///
///     resumable:  HEAD -> compare with the file on disk -> GET of what is missing -> Finished
///     restart:    remove the file -> GET -> Finished
///
/// The body goes to the file as it arrives and is never held whole. A network error is reported to
/// the download and does not stop the course of things: a failed HEAD is followed by the GET, a
/// failed GET by Finished. There is no time limit and no retry. Main thread.
class Transfer final : public QObject
{
    Q_OBJECT

public:
    Transfer(QNetworkAccessManager &network, const QSharedPointer<Models::Download> &download,
             QObject *parent);

    void start();

signals:
    /// The GET is over and the download Finished. Not emitted when the probe found the file
    /// complete, which ends the transfer without a GET.
    void ended();

private:
    void sendProbe();
    void onProbed(QNetworkReply &probe);
    bool isCompleteOnDisk(qint64 announcedSize);
    void sendGet();
    void requestBody();
    void onAnswered();
    void writeBody();
    bool openFile();
    void onProgress(qint64 bytesTotal);
    void onFinished();
    bool isCutShort() const;
    void logShortfall();
    void reportError(const QString &text);

    QNetworkAccessManager &m_network;
    QSharedPointer<Models::Download> m_download;
    QFile m_file;
    QNetworkReply *m_reply = nullptr;
    QByteArray m_buffer;
    qint64 m_receivedBytes = 0;
    qint64 m_lostBytes = 0;
};

} // namespace Kavo::Managers

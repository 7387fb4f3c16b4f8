#pragma once

#include "downloads/BodyChecksum.h"
#include "downloads/Download.h"
#include "downloads/PartialFile.h"

#include <QByteArray>
#include <QObject>
#include <QSharedPointer>

class QNetworkAccessManager;
class QNetworkReply;

namespace Kavo::Managers {

class AnswerHead;

/// Runs one download over the network, from Idle to Finished:
///
///     resumable:  HEAD -> compare with the file on disk -> GET of what is missing -> Finished
///     restart:    remove the file -> GET -> Finished
///
/// A restarting download may be answered from the cache of the network access manager
/// (AnswerCache). A resumable one neither reads nor fills that cache.
///
/// If the server does not send the missing part, the existing part is dropped and the whole file is
/// fetched. A file that is larger than the download allows is an error, and nothing of it is kept.
///
/// The body is written to the file as it arrives and never held in memory as a whole. The body of
/// an error page is never written. If the server refuses the missing part, the existing part is
/// dropped, because it would be refused each time. A network or disk error is reported to the
/// download and does not end the sequence: a failed HEAD is followed by the GET, a failed GET by
/// Finished. There is no time limit and no retry. Main thread.
class Transfer final : public QObject
{
    Q_OBJECT

public:
    /// `growsAt` is the path that is written until the file is complete; mostly the download's own
    /// path.
    Transfer(QNetworkAccessManager &network, const QSharedPointer<Models::Download> &download,
             const QString &growsAt, QObject *parent);

    void start();

signals:
    /// No more bytes are written to the file. The download becomes Finished right after this.
    void fileSettled();
    /// The GET has ended and the download is Finished. Not emitted if the probe found the file
    /// complete, because no GET follows then.
    void ended();

private:
    void sendProbe();
    void onProbed(QNetworkReply &probe);
    void follow(PartialFile::Plan plan);
    void askForTheRest();
    void requestBody();
    void onAnswered();
    bool isTheRest(const AnswerHead &answer) const;
    void startAnew();
    void askForTheWhole();
    FileOrigin originOf(const AnswerHead &answer, bool bringsTheFile) const;
    void writeBody();
    bool isTooLarge(qint64 size) const;
    void giveUp();
    void onProgress(qint64 bytesTotal);
    bool isLostInCache() const;
    void passCache();
    void onFinished();
    bool isCutShort() const;
    void reportLoss();
    void keepForLater() const;
    void logShortfall(qint64 present) const;
    void reportError(const QString &text);

    QNetworkAccessManager &m_network;
    QSharedPointer<Models::Download> m_download;
    PartialFile m_file;
    QNetworkReply *m_reply = nullptr;
    QByteArray m_buffer;
    qint64 m_receivedBytes = 0;
    bool m_hasFailed = false; ///< whether an error of the GET was reported
    bool m_hasGivenUp = false;
    bool m_hasPassedCache = false; ///< whether the request was repeated without the cache
    BodyChecksum m_checksum;
};

} // namespace Kavo::Managers

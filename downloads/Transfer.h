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

/// Takes one download from Idle to Finished over the network:
///
///     resumable:  HEAD -> compare with the file on disk -> GET of what is missing -> Finished
///     restart:    remove the file -> GET -> Finished
///
/// What starts over may come from the answers that the network access manager keeps (AnswerCache);
/// what is resumable neither comes from there nor goes there.
///
/// A rest that does not follow on what is there costs that: the transfer goes on with the whole.
///
/// A file that is larger than the download allows is an error, and nothing of it stays.
///
/// The body goes to the file as it arrives and is never held whole. A page that tells of an error
/// is never written; one that refuses the missing part costs the part that is there, for it would
/// be refused again. An error, be it of the network or of the disk, is reported to the download and
/// does not stop the course of things: a failed HEAD is followed by the GET, a failed GET by
/// Finished. There is no time limit and no retry. Main thread.
class Transfer final : public QObject
{
    Q_OBJECT

public:
    /// The file grows in the download's own place or in another one meanwhile.
    Transfer(QNetworkAccessManager &network, const QSharedPointer<Models::Download> &download,
             const QString &growsAt, QObject *parent);

    void start();

signals:
    /// Nothing is written to the file any more; the download will be Finished at once.
    void fileSettled();
    /// The GET is over and the download Finished. Not emitted when the probe found the file
    /// complete, which ends the transfer without a GET.
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
    bool m_hasFailed = false; ///< an error of the GET was reported
    bool m_hasGivenUp = false;
    bool m_hasPassedCache = false; ///< asked again without what the cache knows
    BodyChecksum m_checksum;
};

} // namespace Kavo::Managers

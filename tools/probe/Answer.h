#pragma once

#include "downloads/FileOrigin.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVector>

#include <optional>

namespace Kavo::Tools {

/// The certificate data of a connection.
struct TlsFacts
{
    QString protocol;
    QDateTime expiry; ///< earliest expiry of the certificates in the chain
};

/// The answer to a question, interpreted as the program does. A value class.
struct Answer
{
    enum class End {
        Whole,    ///< complete, as far as the server announces its length
        Enough,   ///< as much as was requested; there is more
        Cut,      ///< the connection broke before the end of the body
        Silent,   ///< the time limit was exceeded
        Failed,   ///< no connection, no trust, or a failed redirect
        NotAsked, ///< not asked, because the server was silent too often
    };

    QUrl address; ///< the requested address
    End end = End::Failed;
    QString fault;         ///< error text of the network layer
    bool isTrusted = true; ///< the certificates were accepted
    bool isLost = false;   ///< redirects lead nowhere, in circles or away from https

    int status = 0; ///< 0 if no headers have arrived
    QVector<QUrl> redirects;
    std::optional<TlsFacts> tls; ///< if a connection was made for this question

    QByteArray contentType;
    QByteArray contentEncoding;
    QByteArray cacheControl;
    QByteArray vary;
    std::optional<qint64> length;    ///< announced length of the body
    std::optional<qint64> firstByte; ///< offset of a part in the file
    bool hasDate = false;            ///< a valid Last-Modified date
    QByteArray entityTag;            ///< strong or weak
    Managers::FileOrigin origin;     ///< with the strong tag only
    bool isMeasured = false;         ///< the complete unencoded file with its length
    bool isCompressed = false;       ///< in an encoding that the program decodes
    bool mayBeKept = false;          ///< may be kept for a later run
    QDateTime expiration;            ///< when it expires

    qint64 bodySize = 0; ///< number of received bytes
    QByteArray body;     ///< the first of these bytes

    /// Whether the file has arrived, or as much of it as was requested.
    bool isFile() const { return status == 200 && (end == End::Whole || end == End::Enough); }
    bool isPart() const { return status == 206 && (end == End::Whole || end == End::Enough); }
    /// Whether the server sends nothing to detect a change by.
    bool isUnmarked() const { return entityTag.isEmpty() && !hasDate; }
    /// Whether the server forbids keeping it.
    bool forbidsKeeping() const { return cacheControl.contains("no-store") || vary.contains('*'); }
    /// A summary in a few words.
    QString summary() const;
};

} // namespace Kavo::Tools

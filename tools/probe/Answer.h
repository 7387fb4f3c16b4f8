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

/// What a server has shown of itself while a connection was made.
struct TlsFacts
{
    QString protocol;
    QDateTime expiry; ///< of the certificate of the chain that ends first
};

/// What came for one question, read the way the program reads it. A value without a connection.
struct Answer
{
    enum class End {
        Whole,    ///< to its end, as far as the server says where that is
        Enough,   ///< as much as was wanted; there is more
        Cut,      ///< the connection ended before the body
        Silent,   ///< the server let the time pass
        Failed,   ///< no connection, no trust, or no way through the redirects
        NotAsked, ///< the server had been silent too often
    };

    QUrl address; ///< that was asked for
    End end = End::Failed;
    QString fault;         ///< what the network says of a failure
    bool isTrusted = true; ///< nothing was wrong with the certificates
    bool isLost = false;   ///< redirects lead nowhere, in circles or away from https

    int status = 0; ///< 0 when no head has come
    QVector<QUrl> redirects;
    std::optional<TlsFacts> tls; ///< of a connection that was made for this question

    QByteArray contentType;
    QByteArray contentEncoding;
    QByteArray cacheControl;
    QByteArray vary;
    std::optional<qint64> length;    ///< bytes of the body
    std::optional<qint64> firstByte; ///< place of a part in the file
    bool hasDate = false;            ///< a date of the last change that can be read
    QByteArray entityTag;            ///< of any strength
    Managers::FileOrigin origin;     ///< with the strong tag only
    bool isMeasured = false;         ///< the whole file as it is, and how long it is
    bool isCompressed = false;       ///< in an encoding that the program undoes
    bool mayBeKept = false;          ///< for a later run of the program
    QDateTime expiration;            ///< until when it need not be asked for again

    qint64 bodySize = 0; ///< bytes that came
    QByteArray body;     ///< the first of them

    /// Whether the file has come, or as much of it as was wanted.
    bool isFile() const { return status == 200 && (end == End::Whole || end == End::Enough); }
    bool isPart() const { return status == 206 && (end == End::Whole || end == End::Enough); }
    /// Whether the server says nothing by which a change could be told.
    bool isUnmarked() const { return entityTag.isEmpty() && !hasDate; }
    /// Whether nobody is to keep it.
    bool forbidsKeeping() const { return cacheControl.contains("no-store") || vary.contains('*'); }
    /// What came, in a few words.
    QString summary() const;
};

} // namespace Kavo::Tools

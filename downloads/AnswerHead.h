#pragma once

#include <QByteArray>

#include <optional>

class QNetworkReply;

namespace Kavo::Managers {

/// What the head of an HTTP answer says about its body. Reads the reply at each call; the reply
/// must outlive it. Before the head has arrived, and if there is none, all answers are empty or
/// false.
class AnswerHead final
{
public:
    explicit AnswerHead(const QNetworkReply &reply) : m_reply(reply) {}

    /// Whether the body is the file or a part of it. The length, date and encoding of an error page
    /// say nothing about the file.
    bool bringsTheFile() const;
    /// Whether the body is only a part of the file, according to the server.
    bool isPart() const;
    /// Whether the answer only says that the file has not changed.
    bool isUnchanged() const;
    /// Whether the body is the complete, unencoded file and its length is known.
    bool isMeasuredWhole() const;
    /// Whether the body is an error page.
    bool isErrorPage() const;
    /// Whether the server says that it cannot send the requested range.
    bool refusesTheRange() const;

    /// Whether the body has an encoding that Qt can decode.
    bool isCompressed() const;
    bool isChunked() const;
    /// The length of the body in bytes.
    std::optional<qint64> length() const;
    /// The offset of a partial body in the file, if the server says it.
    std::optional<qint64> firstByte() const;

    /// The date of the file exactly as the server sent it; empty if it sent none.
    QByteArray lastModified() const;
    /// The entity tag with its quotes and the mark of a weak one; empty if there is none.
    QByteArray entityTag() const;
    /// The entity tag if it is a strong one, else empty. Files with the same strong tag have the
    /// same content.
    QByteArray strongTag() const;

private:
    int status() const;

    const QNetworkReply &m_reply;
};

} // namespace Kavo::Managers

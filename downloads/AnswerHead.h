#pragma once

#include <QByteArray>

#include <optional>

class QNetworkReply;

namespace Kavo::Managers {

/// What the head of an answer tells of its body. Reads the reply each time it is asked; the reply
/// must outlive it. Before the head has come, and when there is none, it tells nothing.
class AnswerHead final
{
public:
    explicit AnswerHead(const QNetworkReply &reply) : m_reply(reply) {}

    /// Whether the body is the file or a part of it. Of a page that tells of an error, neither
    /// length nor date nor encoding say anything about the file.
    bool bringsTheFile() const;
    /// Whether the body is no more than a part of the file, as far as the server says.
    bool isPart() const;
    /// Whether the answer is no more than that the file has not changed.
    bool isUnchanged() const;
    /// Whether the body is the whole file, byte for byte, and says how long it is.
    bool isMeasuredWhole() const;
    /// Whether the body is a page that tells of an error.
    bool isErrorPage() const;
    /// Whether the server says that it does not have the part that it was asked for.
    bool refusesTheRange() const;

    /// Whether the body comes in an encoding that Qt can undo.
    bool isCompressed() const;
    bool isChunked() const;
    /// Bytes of the body.
    std::optional<qint64> length() const;
    /// Where in the file the body begins, of a part that says so.
    std::optional<qint64> firstByte() const;

    /// The date of the file, letter for letter as the server writes it; empty when it does not.
    QByteArray lastModified() const;
    /// The entity tag with its quotes, and with the mark of a weak one; empty when there is none.
    QByteArray entityTag() const;
    /// The same; empty unless it is a strong one, which no two files share
    /// that differ in a byte.
    QByteArray strongTag() const;

private:
    int status() const;

    const QNetworkReply &m_reply;
};

} // namespace Kavo::Managers

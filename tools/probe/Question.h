#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QUrl>

namespace Kavo::Tools {

/// One request of a probe and the requested part of its answer.
struct Question
{
    enum class Method { Head, Get };

    QUrl address;
    Method method = Method::Get;
    QList<QPair<QByteArray, QByteArray>> headers;
    /// The exchange ends after this number of bytes of the body, and closes the connection if there
    /// are more.
    qint64 enough = 0;
    /// The number of bytes that are kept from the beginning of the body.
    qint64 kept = 0;
};

} // namespace Kavo::Tools

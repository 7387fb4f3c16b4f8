#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QUrl>

namespace Kavo::Tools {

/// One request of a probe and how much of its answer is wanted.
struct Question
{
    enum class Method { Head, Get };

    QUrl address;
    Method method = Method::Get;
    QList<QPair<QByteArray, QByteArray>> headers;
    /// The exchange ends after so many bytes of the body, which cuts the connection when there are
    /// more.
    qint64 enough = 0;
    /// How many bytes from the beginning of the body are kept.
    qint64 kept = 0;
};

} // namespace Kavo::Tools

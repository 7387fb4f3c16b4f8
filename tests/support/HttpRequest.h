#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

namespace Kavo::Testing {

/// A request that the test server has received.
struct HttpRequest
{
    QByteArray method;
    QByteArray path;
    QList<QPair<QByteArray, QByteArray>> headers;

    /// The value of the first header with this name in any letter case; null if there is none.
    QByteArray header(const QByteArray &name) const;
    bool hasHeader(const QByteArray &name) const { return !header(name).isNull(); }

    /// Parses the head of a request without its final empty line.
    static HttpRequest parse(const QByteArray &head);
};

} // namespace Kavo::Testing

#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>

namespace Kavo::Testing {

/// One request as the test server got it.
struct HttpRequest
{
    QByteArray method;
    QByteArray path;
    QList<QPair<QByteArray, QByteArray>> headers;

    /// Value of the first header of this name in any letter case; null when there is none.
    QByteArray header(const QByteArray &name) const;
    bool hasHeader(const QByteArray &name) const { return !header(name).isNull(); }

    /// Reads the head of a request, up to but without the empty line.
    static HttpRequest parse(const QByteArray &head);
};

} // namespace Kavo::Testing

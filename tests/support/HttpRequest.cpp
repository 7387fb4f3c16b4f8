#include "tests/support/HttpRequest.h"

namespace Kavo::Testing {

QByteArray HttpRequest::header(const QByteArray &name) const
{
    for (const auto &header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return header.second;
    }
    return QByteArray();
}

HttpRequest HttpRequest::parse(const QByteArray &head)
{
    HttpRequest request;
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> words = lines.first().trimmed().split(' ');
    request.method = words.value(0);
    request.path = words.value(1);
    for (int index = 1; index < lines.size(); ++index) {
        const QByteArray line = lines.at(index).trimmed();
        const int colon = line.indexOf(':');
        if (colon > 0)
            request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    return request;
}

} // namespace Kavo::Testing

#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QPair>

#include <functional>
#include <optional>

namespace Kavo::Testing {

namespace HttpStatus {

/// The status codes that tests use.
enum Code : int {
    OK = 200,
    NO_CONTENT = 204,
    PARTIAL_CONTENT = 206,
    FOUND = 302,
    NOT_MODIFIED = 304,
    BAD_REQUEST = 400,
    UNAUTHORIZED = 401,
    FORBIDDEN = 403,
    NOT_FOUND = 404,
    METHOD_NOT_ALLOWED = 405,
    GONE = 410,
    RANGE_NOT_SATISFIABLE = 416,
    INTERNAL_SERVER_ERROR = 500,
    SERVICE_UNAVAILABLE = 503,
};

} // namespace HttpStatus

/// The content of one path of the test server, and the faults of its answers. By default, HEAD and
/// GET answer 200 with length and date, and Range is answered with 206 unless If-Range names
/// another version of the file. All counts are bytes in the body of one answer.
struct HttpResource
{
    QByteArray body;
    /// The size of a body that is generated while it is sent, instead of `body`.
    std::optional<qint64> generatedSize;
    /// The body from the second request on, whether HEAD or GET.
    std::optional<QByteArray> laterBody;
    QDateTime lastModified = QDateTime(QDate(2023, 5, 17), QTime(12, 0), Qt::UTC);
    QByteArray entityTag; ///< the value of ETag; empty for no such header
    QList<QPair<QByteArray, QByteArray>> headers;

    // Answers other than 200.
    std::optional<int> headStatus; ///< HEAD answers this without length and date
    std::optional<int> getStatus;  ///< GET answers this, with the body
    bool failsOnlyGet = false;     ///< HEAD answers as if `getStatus` were not set
    QByteArray redirect;           ///< HEAD and GET answer 302 with this Location

    // Wrong or missing headers.
    bool headWithoutLength = false;
    bool headWithoutDate = false;
    std::optional<qint64> headLength; ///< HEAD announces this length
    bool getWithoutLength = false;    ///< the body ends when the connection is closed
    bool chunked = false;             ///< GET sends chunks instead of a length
    bool compresses = false;          ///< GET sends gzip if the request accepts it
    bool compressesUnasked = false;   ///< GET sends gzip even if the request does not accept it

    /// GET answers 304 if the tag in the request, or else the date, is that of the file.
    bool knowsWhatIsUnchanged = false;

    // Ranges.
    bool ignoresRange = false;      ///< 200 and the whole body
    bool refusesRange = false;      ///< 416 with a page as its body
    qint64 rangeDisplacement = 0;   ///< 206 starts so many bytes later than requested
    bool hidesContentRange = false; ///< 206 without Content-Range
    bool ignoresIfRange = false;    ///< 206 although If-Range names another version
    bool distrustsIfRange = false;  ///< 200 although If-Range names this version
    bool damagesRange = false;      ///< the bytes of 206 differ from those of the whole file
    qint64 rangeShortage = 0;       ///< 206 omits so many bytes at the end
    bool hidesMarksOfRange = false; ///< 206 without date and tag

    // Interruptions and pauses in the body of a GET.
    std::optional<qint64> cutAfter;   ///< the connection is closed normally
    bool cutsInsideChunk = false;     ///< with `chunked`: the last chunk is incomplete
    std::optional<qint64> resetAfter; ///< the connection is reset
    std::optional<qint64> holdAfter;  ///< the body pauses until TestHttpServer::release()
    // Pauses before the answer, until TestHttpServer::release().
    bool holdsHead = false;
    bool holdsGet = false;

    qint64 size() const { return generatedSize ? *generatedSize : body.size(); }
    /// At most `length` bytes of the body, from `offset` on.
    QByteArray read(qint64 offset, qint64 length) const;

    /// The bytes of a generated body.
    static QByteArray generated(qint64 offset, qint64 length);
};

/// A change to a resource, such as a fault in a row of test data.
using ResourceChange = std::function<void(HttpResource &)>;

/// A change that sets members: with(&HttpResource::cutAfter, 10, &HttpResource::chunked, true).
template<class Member, class Value, class... More>
ResourceChange with(Member HttpResource::*member, const Value &value, const More &...more)
{
    return [=](HttpResource &resource) {
        resource.*member = value;
        if constexpr (sizeof...(more) > 0)
            with(more...)(resource);
    };
}

/// The bytes compressed in gzip format.
QByteArray gzipped(const QByteArray &bytes);

} // namespace Kavo::Testing

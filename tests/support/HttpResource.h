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

/// What the test server has under one path, and its faults. By default HEAD and GET answer 200 with
/// length and date, and Range is answered with 206, unless If-Range names another file. All counts
/// are bytes of the body of one answer.
struct HttpResource
{
    QByteArray body;
    /// A body of this size, generated while it is sent, instead of `body`.
    std::optional<qint64> generatedSize;
    /// The body from the second request on, be it HEAD or GET.
    std::optional<QByteArray> laterBody;
    QDateTime lastModified = QDateTime(QDate(2023, 5, 17), QTime(12, 0), Qt::UTC);
    QByteArray entityTag; ///< as it stands in ETag; empty for no such header
    QList<QPair<QByteArray, QByteArray>> headers;

    // Answers other than 200.
    std::optional<int> headStatus; ///< HEAD answers this without length and date
    std::optional<int> getStatus;  ///< GET answers this, with the body
    bool failsOnlyGet = false;     ///< HEAD answers as if `getStatus` was not set
    QByteArray redirect;           ///< HEAD and GET answer 302 with this Location

    // Headers that lie or are missing.
    bool headWithoutLength = false;
    bool headWithoutDate = false;
    std::optional<qint64> headLength; ///< HEAD announces this length
    bool getWithoutLength = false;    ///< the end of the connection ends the body
    bool chunked = false;             ///< GET sends chunks instead of a length
    bool compresses = false;          ///< GET answers in gzip when the request accepts it
    bool compressesUnasked = false;   ///< GET answers in gzip whatever the request accepts

    /// GET answers 304 if the client has the same file, by its tag or else by its date.
    bool knowsWhatIsUnchanged = false;

    // Ranges.
    bool ignoresRange = false;      ///< 200 and the whole body
    bool refusesRange = false;      ///< 416 with a page as its body
    qint64 rangeDisplacement = 0;   ///< 206 starts this much later than asked for
    bool hidesContentRange = false; ///< 206 does not say where it starts
    bool ignoresIfRange = false;    ///< 206 although the file is not the one asked for
    bool distrustsIfRange = false;  ///< 200 although the file is the one asked for
    bool damagesRange = false;      ///< 206 brings other bytes than the whole has there
    qint64 rangeShortage = 0;       ///< 206 leaves out so many bytes of the end
    bool hidesMarksOfRange = false; ///< 206 has neither date nor tag

    // Ends and pauses inside the body of a GET.
    std::optional<qint64> cutAfter;   ///< the connection is closed in good order
    bool cutsInsideChunk = false;     ///< with `chunked`: the last chunk before the cut is torn
    std::optional<qint64> resetAfter; ///< the connection is reset
    std::optional<qint64> holdAfter;  ///< the body pauses until TestHttpServer::release()
    // Pauses before the answer, until TestHttpServer::release().
    bool holdsHead = false;
    bool holdsGet = false;

    qint64 size() const { return generatedSize ? *generatedSize : body.size(); }
    /// Bytes of the body; at most `length` of them.
    QByteArray read(qint64 offset, qint64 length) const;

    /// The bytes of a generated body.
    static QByteArray generated(qint64 offset, qint64 length);
};

/// A change to a resource: one fault of a table.
using ResourceChange = std::function<void(HttpResource &)>;

/// Gives members these values: with(&HttpResource::cutAfter, 10, &HttpResource::chunked, true).
template<class Member, class Value, class... More>
ResourceChange with(Member HttpResource::*member, const Value &value, const More &...more)
{
    return [=](HttpResource &resource) {
        resource.*member = value;
        if constexpr (sizeof...(more) > 0)
            with(more...)(resource);
    };
}

/// The gzip form of a text.
QByteArray gzipped(const QByteArray &bytes);

} // namespace Kavo::Testing

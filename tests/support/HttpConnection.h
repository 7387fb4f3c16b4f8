#pragma once

#include "tests/support/HttpRequest.h"
#include "tests/support/HttpResource.h"

#include <QByteArray>
#include <QObject>

class QTcpSocket;

namespace Kavo::Testing {

class TestHttpServer;

/// A client's connection to the test server. It reads one request after another, asks the server
/// for the resource, and sends the answer in pieces, so that a generated body is never in memory as
/// a whole.
class HttpConnection final : public QObject
{
    Q_OBJECT

public:
    /// Takes ownership of the socket.
    HttpConnection(QTcpSocket *socket, TestHttpServer *server);

    /// Continues the answer if it is held and belongs to this path.
    void release(const QByteArray &path);

private:
    struct Answer
    {
        int status = HttpStatus::OK;
        QByteArray headers;
        qint64 position = 0; ///< next byte of the body to send
        qint64 end = 0;
        qint64 sent = 0;
        bool announcesLength = true;
        bool chunked = false;
        bool closes = false;
    };

    void readRequests();
    void begin();
    void prepareHead();
    void prepareGet();
    void addValidators();
    bool isUnchanged() const;
    bool isKnown() const;
    void prepareRange();
    void compress();
    void sendHead();
    void pump();
    void sendPiece();
    bool stopsHere();
    void reset();
    void complete();

    QTcpSocket *m_socket;
    TestHttpServer *m_server;
    QByteArray m_input;
    HttpRequest m_request;
    HttpResource m_resource;
    Answer m_answer;
    bool m_answering = false;
    bool m_held = false;
    bool m_headSent = false;
};

} // namespace Kavo::Testing

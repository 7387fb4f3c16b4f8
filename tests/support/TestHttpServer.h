#pragma once

#include "tests/support/HttpRequest.h"
#include "tests/support/HttpResource.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

namespace Kavo::Testing {

/// A small HTTP/1.1 server on a free loopback port. It serves the resources of the test with the
/// faults that they describe, and records every request.
///
///     TestHttpServer server;
///     server.serve("/a.7z", body).cutAfter = 1000;
///     ... server.url("/a.7z") ...
///     QCOMPARE(server.log(), QStringList({"HEAD /a.7z", "GET /a.7z"}));
///
/// It works on the thread of its creator and answers only while an event loop runs. Connections are
/// kept alive. A path without a resource is answered with 404 and a short page.
class TestHttpServer final : public QObject
{
    Q_OBJECT

public:
    explicit TestHttpServer(QObject *parent = nullptr);

    /// Replaces the resource of a path. The reference is valid until the next resource is added.
    HttpResource &serve(const QString &path, const QByteArray &body);
    /// The same with a body of any size, which is generated while it is sent.
    HttpResource &serveGenerated(const QString &path, qint64 size);
    HttpResource &resource(const QString &path);
    void removeResource(const QString &path);

    QString url(const QString &path) const;
    /// The URL of the same file with another host name.
    QString otherHostUrl(const QString &path) const;
    /// A URL at which connections are refused.
    static QString refusingUrl(const QString &path);

    /// Starts or stops refusing connections, like a server that is down. Open connections are
    /// closed. The port stays reserved.
    void setRefusing(bool refuses);

    /// Continues the held answers for this path and stops holding later ones.
    void release(const QString &path);

    const QList<HttpRequest> &requests() const { return m_requests; }
    QList<HttpRequest> requests(const QString &path) const;
    /// The last request with this method and path; empty if there was none.
    HttpRequest last(const QByteArray &method, const QString &path) const;
    /// Method and path of every request, in order of arrival.
    QStringList log() const;
    void forgetRequests() { m_requests.clear(); }
    /// Runs the event loop until at least `count` requests have arrived. Returns false on timeout.
    bool waitForRequests(int count, int milliseconds = 5000) const;

    /// Records a request and returns its resource. Called by the connections.
    HttpResource receive(const HttpRequest &request);

private:
    void acceptConnections();

    QTcpServer m_server;
    quint16 m_port = 0;
    QTcpSocket m_placeholder; ///< reserves the port while the server does not listen
    QHash<QByteArray, HttpResource> m_resources;
    QHash<QByteArray, int> m_requestCounts;
    QList<HttpRequest> m_requests;
};

} // namespace Kavo::Testing

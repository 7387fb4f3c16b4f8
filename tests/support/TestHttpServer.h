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
/// kept alive. A path without a resource answers 404 with a short page.
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
    /// The same file under another host name.
    QString otherHostUrl(const QString &path) const;
    /// An address where connections are refused.
    static QString refusingUrl(const QString &path);

    /// Refuses connections, as a server that is down, and closes those that are open. The port
    /// stays reserved.
    void setRefusing(bool refuses);

    /// Continues the answers to this path that are held, and holds no later ones.
    void release(const QString &path);

    const QList<HttpRequest> &requests() const { return m_requests; }
    QList<HttpRequest> requests(const QString &path) const;
    /// The last request of this method for this path, empty when there was none.
    HttpRequest last(const QByteArray &method, const QString &path) const;
    /// Method and path of every request, in order of arrival.
    QStringList log() const;
    void forgetRequests() { m_requests.clear(); }
    /// Runs the event loop until so many requests have arrived; false after the limit.
    bool waitForRequests(int count, int milliseconds = 5000) const;

    /// For connections: records a request and returns its resource.
    HttpResource receive(const HttpRequest &request);

private:
    void acceptConnections();

    QTcpServer m_server;
    quint16 m_port = 0;
    QTcpSocket m_placeholder; ///< keeps the port while nobody listens there
    QHash<QByteArray, HttpResource> m_resources;
    QHash<QByteArray, int> m_requestCounts;
    QList<HttpRequest> m_requests;
};

} // namespace Kavo::Testing

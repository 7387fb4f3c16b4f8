#include "tests/support/TestHttpServer.h"

#include "tests/support/HttpConnection.h"
#include "tests/support/Literals.h"
#include "tests/support/RunUntil.h"

#include <QHostAddress>

#include <algorithm>

namespace Kavo::Testing {

namespace {

QString address(const QString &host, quint16 port, const QString &path)
{
    return "http://%1:%2%3"_s.arg(host).arg(port).arg(path);
}

} // namespace

TestHttpServer::TestHttpServer(QObject *parent) : QObject(parent)
{
    if (!m_server.listen(QHostAddress::LocalHost))
        qFatal("No loopback port to listen on");
    m_port = m_server.serverPort();
    connect(&m_server, &QTcpServer::newConnection, this, &TestHttpServer::acceptConnections);
}

HttpResource &TestHttpServer::serve(const QString &path, const QByteArray &body)
{
    HttpResource &resource = m_resources[path.toLatin1()];
    resource = HttpResource();
    resource.body = body;
    return resource;
}

HttpResource &TestHttpServer::serveGenerated(const QString &path, qint64 size)
{
    HttpResource &resource = serve(path, QByteArray());
    resource.generatedSize = size;
    return resource;
}

HttpResource &TestHttpServer::resource(const QString &path)
{
    return m_resources[path.toLatin1()];
}

void TestHttpServer::removeResource(const QString &path)
{
    m_resources.remove(path.toLatin1());
}

QString TestHttpServer::url(const QString &path) const
{
    return address("127.0.0.1"_s, m_port, path);
}

QString TestHttpServer::otherHostUrl(const QString &path) const
{
    return address("localhost"_s, m_port, path);
}

QString TestHttpServer::refusingUrl(const QString &path)
{
    // The system never assigns so low a port to a program that asks for any, so no other test can
    // listen on it.
    constexpr quint16 NobodysPort = 1;
    return address("127.0.0.1"_s, NobodysPort, path);
}

void TestHttpServer::setRefusing(bool refuses)
{
    if (refuses == !m_server.isListening())
        return;
    if (!refuses) {
        if (!m_server.listen(QHostAddress::LocalHost, m_port))
            qFatal("Cannot listen on the port again");
        m_placeholder.abort();
        return;
    }
    m_server.close();
    qDeleteAll(findChildren<HttpConnection *>(QString(), Qt::FindDirectChildrenOnly));
    if (!m_placeholder.bind(QHostAddress::LocalHost, m_port,
                            QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint))
        qFatal("The port cannot be reserved");
}

void TestHttpServer::release(const QString &path)
{
    HttpResource &held = resource(path);
    held.holdsHead = false;
    held.holdsGet = false;
    held.holdAfter.reset();
    const auto connections = findChildren<HttpConnection *>(QString(), Qt::FindDirectChildrenOnly);
    for (HttpConnection *connection : connections)
        connection->release(path.toLatin1());
}

QList<HttpRequest> TestHttpServer::requests(const QString &path) const
{
    QList<HttpRequest> found;
    std::copy_if(
        m_requests.cbegin(), m_requests.cend(), std::back_inserter(found),
        [wanted = path.toLatin1()](const HttpRequest &request) { return request.path == wanted; });
    return found;
}

HttpRequest TestHttpServer::last(const QByteArray &method, const QString &path) const
{
    const QList<HttpRequest> all = requests(path);
    const auto found =
        std::find_if(all.crbegin(), all.crend(),
                     [&method](const HttpRequest &request) { return request.method == method; });
    return found == all.crend() ? HttpRequest() : *found;
}

QStringList TestHttpServer::log() const
{
    QStringList lines;
    for (const HttpRequest &request : m_requests)
        lines.append(QString::fromLatin1(request.method + ' ' + request.path));
    return lines;
}

bool TestHttpServer::waitForRequests(int count, int milliseconds) const
{
    return runUntil([this, count] { return m_requests.size() >= count; }, milliseconds);
}

HttpResource TestHttpServer::receive(const HttpRequest &request)
{
    m_requests.append(request);
    const auto found = m_resources.constFind(request.path);
    if (found == m_resources.cend()) {
        HttpResource missing;
        missing.body = "<html>Not found</html>";
        missing.getStatus = HttpStatus::NOT_FOUND;
        missing.headWithoutDate = true;
        return missing;
    }
    HttpResource resource = *found;
    if (m_requestCounts[request.path]++ > 0 && resource.laterBody) {
        resource.body = *resource.laterBody;
        resource.generatedSize.reset();
    }
    return resource;
}

void TestHttpServer::acceptConnections()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection())
        new HttpConnection(socket, this);
}

} // namespace Kavo::Testing

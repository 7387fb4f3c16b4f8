#pragma once

#include "tests/downloads/DownloadEvents.h"
#include "tests/downloads/DownloadSetup.h"
#include "tests/support/Literals.h"

#include <QFile>
#include <QObject>

#include <memory>

namespace Kavo::Testing {

/// Base class of the transfer tests. Each test function gets a new DownloadSetup. By default all
/// functions refer to the file "/a" of the server and "a" in the cache folder.
class DownloadFixture : public QObject
{
    Q_OBJECT

protected slots:
    virtual void init();
    virtual void cleanup();

protected:
    using Pointer = DownloadSetup::Pointer;

    DownloadSetup &setup() const { return *m_setup; }
    TestHttpServer &server() const { return m_setup->server(); }
    Managers::DownloadManager &manager() const { return m_setup->manager(); }
    LogCapture &log() const { return m_setup->log(); }

    HttpResource &serve(const QByteArray &body, const QString &path = "/a"_s) const;
    HttpResource &resource(const QString &path = "/a"_s) const { return server().resource(path); }
    QString url(const QString &path = "/a"_s) const { return server().url(path); }
    HttpRequest lastGet(const QString &path = "/a"_s) const { return server().last("GET", path); }
    /// The range that the last GET requested, null if it requested the whole file.
    QByteArray range(const QString &path = "/a"_s) const { return lastGet(path).header("Range"); }
    /// All requests as one text, such as "HEAD /a, GET /a".
    QString asked() const { return server().log().join(", "_s); }

    /// Create a download of a file of the server, see DownloadSetup.
    Pointer resumable(const QString &path = "/a"_s) const;
    Pointer restart(const QString &path = "/a"_s) const;
    /// Adds the download to the manager and waits until it has finished. Returns its events, or
    /// "no end" after a timeout.
    QStringList transfer(const Pointer &download) const;

    QString path(const QString &name = "a"_s) const { return m_setup->path(name); }
    QByteArray content(const QString &name = "a"_s) const { return m_setup->content(name); }
    bool exists(const QString &name = "a"_s) const { return QFile::exists(path(name)); }
    bool put(const QByteArray &content, const QString &name = "a"_s) const;
    /// The first `size` bytes of a body of TestHttpServer::serveGenerated().
    static QByteArray generated(int size) { return HttpResource::generated(0, size); }

private:
    std::unique_ptr<DownloadSetup> m_setup;
};

} // namespace Kavo::Testing

#pragma once

#include "tests/support/Files.h"
#include "tests/support/TestHttpServer.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Kavo::Testing {

/// Many small packages, on enough servers for all downloads to run at once. The id of a package,
/// from 1, decides its properties: some depend on another package, preserve the user's settings,
/// replace a foreign file, share an archive, or have a newest version that cannot be unpacked or
/// fetched. Every package has the versions "1.0" and "2.0".
class StressPackages final
{
public:
    explicit StressPackages(int count);

    int count() const { return m_count; }
    static QStringList versions();

    QJsonObject object(int id) const;
    /// The files that an installed version adds to the simulator's folder.
    static Files files(int id, const QString &version);
    /// The file whose content names the version.
    static QString mark(int id);

    /// The id of the package that this package depends on, or 0.
    static int dependency(int id);
    /// The file that the user may write, or an empty text.
    static QString settingsFile(int id);
    /// The foreign file that the package replaces, or an empty text.
    static QString original(int id);
    static QByteArray originalContent(int id);
    /// Whether the version can be fetched and unpacked.
    static bool isSound(int id, const QString &version);

    /// File names of the archives in the cache folder.
    static QStringList archives(int id);

    /// Makes the servers hold back every archive.
    void hold();
    /// Releases all archives in one turn of the event loop.
    void release();
    /// Number of archives requested since hold().
    int requestedArchives() const;

private:
    static int source(int id);
    static QString path(int id, const QString &version);
    void serve(int id, const QString &version);
    TestHttpServer &server(int id) const;

    int m_count;
    std::vector<std::unique_ptr<TestHttpServer>> m_servers;
};

} // namespace Kavo::Testing

#pragma once

#include "tests/support/Archives.h"
#include "tests/support/TestHttpServer.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Kavo::Testing {

/// Very many small packages on so many servers that all of their downloads can be under way at the
/// same moment. The number of a package, from 1, says what is special about it: some need another
/// package, keep the user's settings, replace other people's files, share an archive, or have a
/// newest version that cannot be unpacked or fetched. Every package has the versions "1.0" and
/// "2.0".
class StressPackages final
{
public:
    explicit StressPackages(int count);

    int count() const { return m_count; }
    static QStringList versions();

    QJsonObject object(int id) const;
    /// What an installed version puts into the simulator's folder.
    static Files files(int id, const QString &version);
    /// The file by whose content a version can be told.
    static QString mark(int id);

    /// The package that has to be there first, or 0.
    static int dependency(int id);
    /// The file that the user may write, or an empty text.
    static QString settingsFile(int id);
    /// The file of other people that the package replaces, or an empty text.
    static QString original(int id);
    static QByteArray originalContent(int id);
    /// Whether the version can be fetched and unpacked.
    static bool isSound(int id, const QString &version);

    /// File names of the archives in the cache folder.
    static QStringList archives(int id);

    /// Makes the servers keep back the body of every archive.
    void hold();
    /// Lets everything go that is kept back, all in one turn of the event loop.
    void release();
    /// How many archives have been asked for since hold().
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

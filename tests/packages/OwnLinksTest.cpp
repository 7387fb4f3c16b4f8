#include "tests/packages/Engine.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <memory>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// An archive without entries for its folders: 7-Zip makes no folder where a link to one stands.
QByteArray archiveWithoutFolders(const QString &folder, const Files &files)
{
    QVector<TarEntry> entries;
    for (auto file = files.cbegin(); file != files.cend(); ++file)
        entries.append({TarEntry::FILE, (folder + file.key()).toUtf8(), file.value()});
    return tarOf(entries);
}

} // namespace

/// Users keep folders of the simulator on other disks and leave links in their places. 7-Zip
/// unpacks through these, and the rules have to reach just as far.
class OwnLinksTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_engine.reset(); }

    void rulesReachWhatUnpackingReaches_data();
    void rulesReachWhatUnpackingReaches();
    void settingsOfAMovedFolderAreKept();
    void archiveMayHaveAnEntryForALinkedFolder_data();
    void archiveMayHaveAnEntryForALinkedFolder();
    void linkedFolderExcusesNoOtherFault();
    void linkThatCameWithThePackageIsNoWayOut();

private:
    QString simulator(const QString &path) const { return m_engine->simulator(path); }
    void offer(const QString &version, const QString &extract, const QString &folder,
               const Files &files);

    std::unique_ptr<Engine> m_engine;
    QString m_disk;
};

void OwnLinksTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_disk = m_engine->profile().folder(QStringLiteral("second disk"));
    QVERIFY(writeFiles(m_disk, {{QStringLiteral("lights.txt"), "original"},
                                {QStringLiteral("Other Field/scene.txt"), "theirs"}}));
}

/// Offers a version whose files lie in a folder of the simulator, part of which is unpacked into.
void OwnLinksTest::offer(const QString &version, const QString &extract, const QString &folder,
                         const Files &files)
{
    Offer offer{7, version};
    offer.extract = extract;
    offer.preserve = QStringList{folder + QStringLiteral("New Field/settings.ini")};
    offer.backup = QStringList{folder + QStringLiteral("lights.txt")};
    offer.remove =
        QStringList{folder + QStringLiteral("New Field"), folder + QStringLiteral("lights.txt")};
    m_engine->offer(offer);
    const QString inArchive = extract.isEmpty() ? folder : folder.mid(extract.size() + 1);
    m_engine->server().serve(QStringLiteral("/package-7-%1.zip").arg(version),
                             archiveWithoutFolders(inArchive, files));
}

void OwnLinksTest::rulesReachWhatUnpackingReaches_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("extract");
    const QString scenery = QStringLiteral("Custom Scenery");
    const QString middle = QStringLiteral("Custom Scenery/Europe/Far North");
    QTest::newRow("first folder, unpacked from the top") << scenery << QString();
    QTest::newRow("first folder, unpacked into the link") << scenery << scenery;
    QTest::newRow("in the middle, unpacked from the top") << middle << QString();
    QTest::newRow("in the middle, unpacked above it") << middle << scenery;
    QTest::newRow("in the middle, unpacked into the link") << middle << middle;
}

void OwnLinksTest::rulesReachWhatUnpackingReaches()
{
    QFETCH(QString, link);
    QFETCH(QString, extract);
    QVERIFY(QDir().mkpath(QFileInfo(simulator(link)).path()));
    QVERIFY(QFile::link(QDir::cleanPath(m_disk), simulator(link)));
    const QString folder = link + QLatin1Char('/');
    offer(QStringLiteral("1.0"), extract, folder,
          {{QStringLiteral("New Field/old.txt"), "1.0"}, {QStringLiteral("lights.txt"), "1.0"}});
    offer(QStringLiteral("2.0"), extract, folder,
          {{QStringLiteral("New Field/new.txt"), "2.0"}, {QStringLiteral("lights.txt"), "2.0"}});
    QVERIFY(m_engine->refresh());
    const auto before = fileTree(m_disk);

    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    const QString backup = m_engine->profile().backupFolder() + folder;
    QCOMPARE(readFile(backup + QStringLiteral("lights.txt")), QByteArray("original"));
    QVERIFY(writeFile(m_disk + QStringLiteral("New Field/settings.ini"), "user's"));

    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QCOMPARE(readFiles(m_disk), (Files{{QStringLiteral("New Field/new.txt"), "2.0"},
                                       {QStringLiteral("New Field/settings.ini"), "user's"},
                                       {QStringLiteral("Other Field/scene.txt"), "theirs"},
                                       {QStringLiteral("lights.txt"), "2.0"}}));

    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(fileTree(m_disk), before);
    QVERIFY(QFileInfo(simulator(link)).isSymLink());
    QCOMPARE(filesUnder(m_engine->profile().preserveFolder()), QStringList());
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

void OwnLinksTest::settingsOfAMovedFolderAreKept()
{
    const QString scenery = QStringLiteral("Custom Scenery/");
    const QString settings = QStringLiteral("New Field/settings.ini");
    for (const char *version : {"1.0", "2.0"}) {
        offer(QLatin1String(version), QString(), scenery,
              {{QStringLiteral("New Field/field.txt"), version}});
    }
    QVERIFY(m_engine->refresh());
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(writeFile(simulator(scenery + settings), "user's"));
    // The folder that the removal rule names becomes a link.
    const QString field = simulator(scenery + QStringLiteral("New Field"));
    const QString moved = m_disk + QStringLiteral("Moved Field");
    QVERIFY(QDir().rename(field, moved));
    QVERIFY(QFile::link(moved, field));
    const auto before = fileTree(m_disk);

    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QVERIFY(!QFileInfo(field).isSymLink());
    QCOMPARE(readFile(simulator(scenery + settings)), QByteArray("user's"));
    // Only the link was the simulator's.
    QCOMPARE(fileTree(m_disk), before);
}

void OwnLinksTest::archiveMayHaveAnEntryForALinkedFolder_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("link");
    for (const char *format : {"7z", "zip", "tar"}) {
        for (const char *link : {"Custom Scenery", "Custom Scenery/New Field"})
            QTest::addRow("%s, %s", format, link)
                << QString::fromLatin1(format) << QString::fromLatin1(link);
    }
}

/// As archives have it that are packed with their folders; 7-Zip then ends with an error.
void OwnLinksTest::archiveMayHaveAnEntryForALinkedFolder()
{
    QFETCH(QString, format);
    QFETCH(QString, link);
    QVERIFY(QDir().mkpath(QFileInfo(simulator(link)).path()));
    QVERIFY(QFile::link(QDir::cleanPath(m_disk), simulator(link)));
    m_engine->offer({7});
    const QString name = QStringLiteral("Custom Scenery/New Field/");
    m_engine->server().serve(QStringLiteral("/package-7-1.0.zip"),
                             archiveOf({{name + QStringLiteral("a/b.txt"), "content"},
                                        {name + QStringLiteral("empty/"), ""}},
                                       format));
    QVERIFY(m_engine->refresh());
    const LogCapture log;
    QVERIFY(m_engine->installAndWait(7));
    QCOMPARE(readFile(simulator(name + QStringLiteral("a/b.txt"))), QByteArray("content"));
    QVERIFY(QFileInfo(simulator(link)).isSymLink());
    QVERIFY(log.contains(QStringLiteral("Unpacked through links : ") +
                         QDir::cleanPath(simulator(link))));
}

void OwnLinksTest::linkedFolderExcusesNoOtherFault()
{
    const QString link = simulator(QStringLiteral("Custom Scenery"));
    QVERIFY(QFile::link(QDir::cleanPath(m_disk), link));
    const auto before = fileTree(m_disk);
    m_engine->offer({7});
    HttpResource &archive = m_engine->server().resource(QStringLiteral("/package-7-1.0.zip"));
    // The one cannot be read, the other has a folder where a file should be.
    for (const QByteArray &body :
         {damagedArchiveOf({{QStringLiteral("Custom Scenery/New Field/a.txt"), "x"}}),
          archiveOf({{QStringLiteral("Custom Scenery/New Field/a.txt"), "x"},
                     {QStringLiteral("Custom Scenery/Other Field"), "x"}},
                    QStringLiteral("zip"))}) {
        archive.body = body;
        QVERIFY(m_engine->refresh());
        QVERIFY(!m_engine->installAndWait(7));
        QCOMPARE(m_engine->package(7)->state(), Package::INSTALL_ERROR);
        QCOMPARE(fileTree(m_disk), before);
        QVERIFY(QFileInfo(link).isSymLink());
    }
}

void OwnLinksTest::linkThatCameWithThePackageIsNoWayOut()
{
    // 7-Zip itself makes no such link; another version of it may be less strict.
    const QString program = m_engine->profile().folder(QStringLiteral("bin")) + QLatin1String("7z");
    QVERIFY(writeFile(program, "#!/bin/sh\n[ \"$1\" = x ] || exec 7z \"$@\"\n7z \"$@\" && ln -s '" +
                                   QFile::encodeName(QDir::cleanPath(m_disk)) +
                                   "' \"${3#-o}/package-7/door\"\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    m_engine->setExtractor(program);
    const QStringList entries{QStringLiteral("package-7/door/lights.txt"),
                              QStringLiteral("package-7/door/Other Field")};
    for (const char *version : {"1.0", "2.0"}) {
        Offer offer{7, QLatin1String(version)};
        offer.preserve = offer.backup = entries;
        offer.remove = entries + QStringList{QStringLiteral("package-7")};
        m_engine->offer(offer);
    }
    QVERIFY(m_engine->refresh());
    const auto before = fileTree(m_disk);
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("1.0")));
    QVERIFY(QFileInfo(simulator(QStringLiteral("package-7/door"))).isSymLink());
    const LogCapture log;
    QVERIFY(m_engine->installAndWait(7, QStringLiteral("2.0")));
    QCOMPARE(fileTree(m_disk), before);
    QVERIFY(log.contains(QStringLiteral("Skipping path : ") + entries.first()));
    m_engine->controller().uninstall(m_engine->package(7));
    QCOMPARE(fileTree(m_disk), before);
    QVERIFY(!QFileInfo::exists(simulator(QStringLiteral("package-7"))));
    QCOMPARE(filesUnder(m_engine->profile().preserveFolder()), QStringList());
    QCOMPARE(filesUnder(m_engine->profile().backupFolder()), QStringList());
}

KAVO_TEST_MAIN(OwnLinksTest)
#include "OwnLinksTest.moc"

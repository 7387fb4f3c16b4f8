#include "tests/packages/EngineTest.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFileInfo>

using namespace Kavo::Models;
using namespace Kavo::Testing;

namespace {

/// Returns an archive without folder entries, because 7-Zip reports an error for a folder entry if
/// there is a link in its place.
QByteArray archiveWithoutFolders(const QString &folder, const Files &files)
{
    QVector<TarEntry> entries;
    for (auto file = files.cbegin(); file != files.cend(); ++file)
        entries.append({TarEntry::FILE, (folder + file.key()).toUtf8(), file.value()});
    return tarOf(entries);
}

} // namespace

/// Users keep folders of the simulator on other disks and replace them by links. 7-Zip follows
/// these links when it unpacks, so the rules must follow them, too.
class OwnLinksTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void rulesReachWhatUnpackingReaches_data()
    {
        const QString scenery = "Custom Scenery"_s;
        const QString middle = "Custom Scenery/Europe/Far North"_s;
        Rows<QString, QString>()
            .row("first folder, unpacked from the top", scenery, QString())
            .row("first folder, unpacked into the link", scenery, scenery)
            .row("in the middle, unpacked from the top", middle, QString())
            .row("in the middle, unpacked above it", middle, scenery)
            .row("in the middle, unpacked into the link", middle, middle);
    }
    void rulesReachWhatUnpackingReaches()
    {
        const auto [link, extract] = Rows<QString, QString>::current();
        QVERIFY(linkToDisk(link));
        const QString folder = link + u'/';
        offerIn(folder, "1.0"_s, extract,
                {{"New Field/old.txt"_s, "1.0"}, {"lights.txt"_s, "1.0"}});
        offerIn(folder, "2.0"_s, extract,
                {{"New Field/new.txt"_s, "2.0"}, {"lights.txt"_s, "2.0"}});
        QVERIFY(refresh());
        const auto before = fileTree(m_disk);

        QVERIFY(installAndWait(7, "1.0"_s));
        const QString backup = backedUp(folder);
        QCOMPARE(readFile(backup + "lights.txt"_s), "original");
        QVERIFY(writeFile(m_disk + "New Field/settings.ini"_s, "user's"));

        QVERIFY(installAndWait(7, "2.0"_s));
        QCOMPARE(readFiles(m_disk), (Files{{"New Field/new.txt"_s, "2.0"},
                                           {"New Field/settings.ini"_s, "user's"},
                                           {"Other Field/scene.txt"_s, "theirs"},
                                           {"lights.txt"_s, "2.0"}}));

        uninstall(7);
        QCOMPARE(fileTree(m_disk), before);
        QVERIFY(isLink(link));
        QCOMPARE(filesUnder(profile().preserveFolder()), QStringList());
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
    }

    void settingsOfAMovedFolderAreKept()
    {
        const QString scenery = "Custom Scenery/"_s;
        const QString settings = "New Field/settings.ini"_s;
        for (const char *version : {"1.0", "2.0"}) {
            offerIn(scenery, QLatin1String(version), QString(),
                    {{"New Field/field.txt"_s, version}});
        }
        QVERIFY(refresh() && installAndWait(7, "1.0"_s));
        QVERIFY(writeFile(simulator(scenery + settings), "user's"));
        // The user moves the folder of the removal rule and replaces it by a link.
        const QString field = simulator(scenery + "New Field"_s);
        const QString moved = m_disk + "Moved Field"_s;
        QVERIFY(QDir().rename(field, moved));
        QVERIFY(QFile::link(moved, field));
        const auto before = fileTree(m_disk);

        QVERIFY(installAndWait(7, "2.0"_s));
        QVERIFY(!QFileInfo(field).isSymLink());
        QCOMPARE(inSimulator(scenery + settings), "user's");
        // Only the link was removed. The moved folder is unchanged.
        QCOMPARE(fileTree(m_disk), before);
    }

    void archiveMayHaveAnEntryForALinkedFolder_data()
    {
        Rows<QString, QString> rows;
        for (const char *format : {"7z", "zip", "tar"}) {
            for (const char *link : {"Custom Scenery", "Custom Scenery/New Field"})
                rows.row(QByteArray(format) + ", " + link, format, link);
        }
    }
    /// Many archives have entries for their folders. 7-Zip ends with an error if there is a link in
    /// the place of such a folder.
    void archiveMayHaveAnEntryForALinkedFolder()
    {
        const auto [format, link] = Rows<QString, QString>::current();
        QVERIFY(linkToDisk(link));
        offer({7});
        const QString name = "Custom Scenery/New Field/"_s;
        server().serve(
            "/package-7-1.0.zip"_s,
            archiveOf({{name + "a/b.txt"_s, "content"}, {name + "empty/"_s, ""}}, format));
        QVERIFY(refresh());
        const LogCapture log;
        QVERIFY(installAndWait(7));
        QCOMPARE(inSimulator(name + "a/b.txt"_s), "content");
        QVERIFY(isLink(link));
        QVERIFY(log.contains("Unpacked through links : "_s + QDir::cleanPath(simulator(link))));
    }

    void linkedFolderExcusesNoOtherFault()
    {
        QVERIFY(linkToDisk("Custom Scenery"_s));
        const auto before = fileTree(m_disk);
        offer({7});
        // The first archive is damaged. In the second one, a file has the name of an existing
        // folder.
        for (const QByteArray &body :
             {damagedArchiveOf({{"Custom Scenery/New Field/a.txt"_s, "x"}}),
              archiveOf({{"Custom Scenery/New Field/a.txt"_s, "x"},
                         {"Custom Scenery/Other Field"_s, "x"}},
                        "zip"_s)}) {
            archive(7).body = body;
            QVERIFY(refresh());
            QVERIFY(!installAndWait(7));
            QCOMPARE(state(7), Package::INSTALL_ERROR);
            QCOMPARE(fileTree(m_disk), before);
            QVERIFY(isLink("Custom Scenery"_s));
        }
    }

    void linkedFolderExcusesNoMissingFile()
    {
        // Behaves like 7-Zip, including its error messages, but deletes one of the unpacked files.
        QVERIFY(unpackWith("7z \"$@\"\nstatus=$?\n"
                           "rm \"${3#-o}/Custom Scenery/Field/a.txt\"\nexit $status\n"));
        QVERIFY(linkToDisk("Custom Scenery"_s));
        offer({7});
        archive(7).body = archiveOf(
            {{"Custom Scenery/Field/a.txt"_s, "x"}, {"Custom Scenery/Field/empty/"_s, ""}}, "7z"_s);
        QVERIFY(refresh());
        QVERIFY(!installAndWait(7));
        QCOMPARE(state(7), Package::INSTALL_ERROR);
    }

    void linkThatCameWithThePackageIsNoWayOut()
    {
        // The script creates the link, because 7-Zip refuses to. Another version of 7-Zip may be
        // less strict.
        QVERIFY(unpackWith("7z \"$@\" && ln -s '" + QFile::encodeName(QDir::cleanPath(m_disk)) +
                           "' \"${3#-o}/package-7/door\"\n"));
        const QStringList entries{"package-7/door/lights.txt"_s, "package-7/door/Other Field"_s};
        for (const char *version : {"1.0", "2.0"}) {
            offer(Offer{7, QLatin1String(version)}.keeping(entries).backingUp(entries).removing(
                entries + QStringList("package-7"_s)));
        }
        QVERIFY(refresh());
        const auto before = fileTree(m_disk);
        QVERIFY(installAndWait(7, "1.0"_s));
        QVERIFY(isLink("package-7/door"_s));
        const LogCapture log;
        QVERIFY(installAndWait(7, "2.0"_s));
        QCOMPARE(fileTree(m_disk), before);
        QVERIFY(log.contains("Skipping path : "_s + entries.first()));
        uninstall(7);
        QCOMPARE(fileTree(m_disk), before);
        QVERIFY(!QFileInfo::exists(simulator("package-7"_s)));
        QCOMPARE(filesUnder(profile().preserveFolder()), QStringList());
        QCOMPARE(filesUnder(profile().backupFolder()), QStringList());
    }

private:
    void setUp() override
    {
        m_disk = profile().folder("second disk"_s);
        QVERIFY(writeFiles(m_disk,
                           {{"lights.txt"_s, "original"}, {"Other Field/scene.txt"_s, "theirs"}}));
    }

    /// Creates a link to the second disk at a path in the simulator.
    bool linkToDisk(const QString &path) const
    {
        return QDir().mkpath(QFileInfo(simulator(path)).path()) &&
               QFile::link(QDir::cleanPath(m_disk), simulator(path));
    }
    bool isLink(const QString &path) const { return QFileInfo(simulator(path)).isSymLink(); }

    /// Makes the engine use a script as its 7-Zip. The script unpacks with these lines of shell
    /// code and calls 7-Zip for everything else.
    bool unpackWith(const QByteArray &lines)
    {
        const QString program = profile().folder("bin"_s) + "7z"_s;
        setExtractor(program);
        return writeFile(program, "#!/bin/sh\n[ \"$1\" = x ] || exec 7z \"$@\"\n" + lines) &&
               QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
    }

    /// Offers a version that installs files below `folder`, a path in the simulator. The archive is
    /// unpacked into `extract`, which is empty or a leading part of that path.
    void offerIn(const QString &folder, const QString &version, const QString &extract,
                 const Files &files)
    {
        offer(Offer{7, version}
                  .into(extract)
                  .keeping({folder + "New Field/settings.ini"_s})
                  .backingUp({folder + "lights.txt"_s})
                  .removing({folder + "New Field"_s, folder + "lights.txt"_s}));
        const QString inArchive = extract.isEmpty() ? folder : folder.mid(extract.size() + 1);
        archive(7, version).body = archiveWithoutFolders(inArchive, files);
    }

    QString m_disk;
};

KAVO_TEST_MAIN(OwnLinksTest)
#include "OwnLinksTest.moc"

#include "tests/packages/UpdateSetup.h"
#include "tests/support/Archives.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QScopeGuard>

#include <csignal>
#include <sched.h>
#include <sys/mount.h>

using namespace Kavo::Models;
using namespace Kavo::Testing;

Q_DECLARE_METATYPE(Files)

/// Updates with unusual or faulty archives, a faulty disk or a faulty 7-Zip. Files that do not
/// belong to the add-on stay unchanged, no file appears outside the simulator, and a later update
/// with a good archive succeeds.
class ArchiveFaultsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Mounts in a private namespace vanish with this process, however it ends. Threads that
        // already exist would not see them, so this must precede the first background task.
        m_mounts = ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    }

    void badArchiveCostsNothing_data()
    {
        const QStringList damaged = turnedAway("The downloaded archive is damaged*"_s);
        const QStringList locked = turnedAway("The downloaded archive asks for a password."_s);
        const Files files{{"plugin/a.txt"_s, "first"}, {"plugin/z.bin"_s, noise(1)}};
        const auto archive = [&files](const char *format, const char *password = "") {
            return archiveOf(files, QLatin1String(format), QLatin1String(password));
        };
        Rows<QByteArray, QStringList> rows;
        const auto cut = [&](const QByteArray &format, const QByteArray &whole, int end) {
            rows.row(format + ", cut in the middle", whole.left(whole.size() / 2), damaged)
                .row(format + ", cut near the end", whole.left(whole.size() - end), damaged);
        };
        for (const char *format : {"7z", "zip"})
            cut(format, archive(format), 20);
        // A tar archive ends with a variable number of zeros, so more than these must be cut.
        cut("tar", archive("tar"), 30000);
        for (const char *format : {"gz", "bz2", "xz"})
            cut(format, compressed(archive("tar"), QLatin1String(format)), 5);
        const auto turned = [](QByteArray whole) {
            whole[whole.size() / 2] = static_cast<char>(~whole.at(whole.size() / 2));
            return whole;
        };
        // The first two faults do not show in the listing, only when the archive is unpacked.
        rows.row("7z, damaged", turned(archive("7z")), refused())
            .row("zip, damaged in the last entry", turned(archive("zip")), refused())
            .row("7z, encrypted", archive("7z", "password"), locked)
            .row("zip, encrypted", archive("zip", "password"), locked)
            .row("no archive", noise(3), damaged)
            .row("empty", "", damaged);
    }
    void badArchiveCostsNothing()
    {
        const auto [archive, log] = Rows<QByteArray, QStringList>::current();
        QVERIFY(!archive.isNull());
        const LogCapture capture;
        UpdateSetup setup;
        QCOMPARE(wrongCourse(setup, archive, Package::INSTALL_ERROR, log), QString());
    }

    void namesArriveAsTheyAre_data()
    {
        Rows<QString>().row("7z", "7z").row("zip", "zip").row("tar", "tar");
    }
    void namesArriveAsTheyAre()
    {
        const auto [format] = Rows<QString>::current();
        Files files;
        for (const char *name :
             {"-y", "-o/elsewhere", "@list", " blanks around ", "two  blanks", "line\nfeed", "dot.",
              "..dots..", "a:b", "star*", "question?", "\"quoted\"", "$HOME", "back\\slash",
              "Gr\u00f6\u00dfe \u00fcber \u00c4rger.txt",
              "\u041e\u0431\u043b\u0430\u043a\u0430/\u0421\u043b\u043e\u0439.txt", "\u96f2.txt"})
            files.insert("plugin/"_s + QString::fromUtf8(name), name);
        files.insert("lights.txt"_s, "lights 2.0");
        const LogCapture log;
        UpdateSetup setup;
        setup.setUpdate(files);
        QCOMPARE(wrongCourse(setup, archiveOf(files, format), Package::INSTALLED, unpacked()),
                 QString());
    }

    void entriesThatLeadOutAreRefused_data()
    {
        const TarEntry file{TarEntry::FILE, "plugin/door/kept", "x"};
        const TarEntry evil{TarEntry::FILE, "plugin/door/evil", "x"};
        const TarEntry door{TarEntry::FILE, "plugin/door", "x"};
        const auto named = [](const char *name) {
            return QVector<TarEntry>{{TarEntry::FILE, "lights.txt", "lights 2.0"},
                                     {TarEntry::FILE, name, "x"}};
        };
        Rows<QVector<TarEntry>>()
            .row("above", named("../evil"))
            .row("above the parent folder", named("plugin/../../evil"))
            .row("to the user's file", named("plugin/../../Documents/kept"))
            .row("up and down again", named("plugin/../plugin/x"))
            .row("absolute", named("OUTSIDE/evil"))
            .row("absolute, to the user's file", named("OUTSIDE/kept"))
            .row("backslashes", named(R"(plugin\..\..\evil)"))
            .row("both separators", named("plugin/..\\..\\evil"))
            .row("drive", named("C:\\evil"))
            .row("server", named(R"(\\server\evil)"))
            .row("to a folder, then files through it",
                 {{TarEntry::LINK, "plugin/door", "../../Documents"}, file, evil})
            .row("absolute, then files through it",
                 {{TarEntry::LINK, "plugin/door", "OUTSIDE"}, file, evil})
            .row("to a file, then that file",
                 {{TarEntry::LINK, "plugin/door", "../../Documents/kept"}, door})
            .row("hard link, then that file",
                 {{TarEntry::HARD_LINK, "plugin/door", "../../Documents/kept"}, door})
            .row("to a folder of others, then a file through it",
                 {{TarEntry::LINK, "plugin/door", "../Aircraft/Others"},
                  {TarEntry::FILE, "plugin/door/plane.acf", "x"}})
            .row("by way of a link that shortens the path",
                 {{TarEntry::FOLDER, "plugin/a/b/c", ""},
                  {TarEntry::LINK, "plugin/a/b/c/short", "../../.."},
                  {TarEntry::LINK, "plugin/a/b/c/short/door", "../../../../../Documents"},
                  file,
                  evil})
            .row("absolute link", {{TarEntry::LINK, "plugin/door", "OUTSIDE"}})
            .row("link of the same name as a folder",
                 {{TarEntry::FOLDER, "plugin/door", ""},
                  {TarEntry::LINK, "plugin/door", "elsewhere"}})
            .row("device", {{TarEntry::DEVICE, "plugin/door", ""}})
            .row("pipe", {{TarEntry::PIPE, "plugin/door", ""}});
    }
    void entriesThatLeadOutAreRefused()
    {
        auto [entries] = Rows<QVector<TarEntry>>::current();
        const LogCapture log;
        UpdateSetup setup;
        putOutside(setup, entries);
        QCOMPARE(wrongCourse(setup, tarOf(entries), Package::INSTALL_ERROR,
                             turnedAway("The archive leads out of the folder*"_s)),
                 QString());
    }

    void filesOfOthersInTheWayStay_data()
    {
        Rows<Files>()
            .row("a folder where a file should be", {{"Aircraft/Others"_s, "x"}})
            .row("a file where a folder should be", {{"Aircraft/Others/plane.acf/new.txt"_s, "x"}});
    }
    void filesOfOthersInTheWayStay()
    {
        auto [files] = Rows<Files>::current();
        const LogCapture log;
        UpdateSetup setup;
        files.insert("plugin/disc.bin"_s, "x");
        QCOMPARE(wrongCourse(setup, archiveOf(files, "7z"_s), Package::INSTALL_ERROR, refused()),
                 QString());
    }

    void readOnlyDiskCostsNothing()
    {
        if (!m_mounts)
            QSKIP("Only a superuser can mount a disk read-only");
        const LogCapture log;
        UpdateSetup setup;
        const HttpResource good = setup.resource();
        setup.resource().body = archiveOf({{"Custom Scenery/new/a.txt"_s, "x"}}, "7z"_s);
        const QByteArray path = QFile::encodeName(setup.engine().simulator("Custom Scenery"_s));
        const char *disk = path.constData();
        QCOMPARE(::mount(disk, disk, nullptr, MS_BIND, nullptr), 0);
        const auto unmount = qScopeGuard([disk] { ::umount2(disk, MNT_DETACH); });
        QCOMPARE(::mount(disk, disk, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
        QCOMPARE(setup.wrongUpdate(Package::INSTALL_ERROR, refused()), QString());
        QVERIFY(!QFile::exists(setup.cached()));
        QCOMPARE(wrongRecovery(setup, good), QString());
    }

    void fullDiskCostsNothing()
    {
        if (!m_mounts)
            QSKIP("Only a superuser can mount a small disk");
        const LogCapture log;
        UpdateSetup setup;
        const HttpResource good = setup.resource();
        const Files files{{"disk/big.bin"_s, noise(1)}};
        setup.resource().body = archiveOf(files, "7z"_s);
        setup.setUpdate(files);
        setup.expectInSimulator({{"disk/"_s, ""}});
        const QString disk = setup.engine().simulator("disk"_s);
        QVERIFY(QDir().mkpath(disk));
        {
            const QByteArray path = QFile::encodeName(disk);
            QCOMPARE(::mount("none", path.constData(), "tmpfs", 0, "size=64k"), 0);
            const auto unmount = qScopeGuard([&path] { ::umount2(path.constData(), MNT_DETACH); });
            QCOMPARE(setup.wrongUpdate(Package::INSTALL_ERROR,
                                       turnedAway("There is too little room*"_s)),
                     QString());
            QVERIFY(!QFile::exists(setup.cached()));
        }
        QCOMPARE(wrongRecovery(setup, good), QString());
    }

    void failingExtractorCostsNothing_data()
    {
        const QStringList missing = turnedAway("7-Zip*could not be run."_s);
        const QStringList damaged = turnedAway("The downloaded archive is damaged*"_s);
        const QByteArray lists = "[ \"$1\" = x ] || exec /usr/bin/7z \"$@\"\n";
        Rows<QByteArray, QStringList>()
            .row("missing", {}, missing)
            .row("killed while it lists", "kill -9 $$\n", missing)
            .row("cannot list", "exit 2\n", damaged)
            .row("lists nothing it can read", "echo ----------; echo Path = a; echo Path = b\n",
                 damaged)
            .row("killed in the middle of a file",
                 lists + "ulimit -f 64\nexec /usr/bin/7z \"$@\"\n", refused(SIGXFSZ))
            .row("no file may become so large",
                 lists + "trap '' XFSZ\nulimit -f 64\nexec /usr/bin/7z \"$@\"\n", refused(2))
            .row("killed by itself", lists + "kill -9 $$\n", refused(SIGKILL))
            .row("killed under its shell", lists + "/usr/bin/7z \"$@\" &\nkill -9 $!\nwait $!\n",
                 refused(137))
            .row("waits for input", lists + "while read -r line; do :; done\nexit 255\n",
                 refused(255))
            .row("closes its input", lists + "exec 0<&-\nexec /usr/bin/7z l /no/such/file\n",
                 refused(2));
    }
    void failingExtractorCostsNothing()
    {
        const auto [script, log] = Rows<QByteArray, QStringList>::current();
        const LogCapture capture;
        UpdateSetup setup;
        const HttpResource good = setup.resource();
        const QString program = setup.otherFolder() + "7z"_s;
        if (!script.isEmpty()) {
            QVERIFY(writeFile(program, "#!/bin/sh\n" + script));
            QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
        }
        QVERIFY(setup.restartWith(program));
        QCOMPARE(setup.wrongUpdate(Package::INSTALL_ERROR, log), QString());
        QVERIFY(!QFile::exists(setup.cached()));
        QVERIFY(setup.restartWith(Kavo::PackageEnvironment::standard().extractor));
        QCOMPARE(wrongRecovery(setup, good), QString());
    }

private:
    /// Creates a file of the user in a folder outside the simulator. Replaces the placeholder
    /// OUTSIDE in the entries by the path of that folder.
    static void putOutside(UpdateSetup &setup, QVector<TarEntry> &entries)
    {
        const QString folder = setup.otherFolder().chopped(1);
        writeFile(folder + "/kept"_s, "the user's");
        for (TarEntry &entry : entries) {
            entry.name.replace("OUTSIDE", folder.toUtf8());
            entry.content.replace("OUTSIDE", folder.toUtf8());
        }
    }

    /// Updates with this archive, checks the outcome and calls wrongRecovery(). Returns a
    /// description of the errors, empty if there are none.
    static QString wrongCourse(UpdateSetup &setup, const QByteArray &archive, Package::State state,
                               const QStringList &lines)
    {
        const HttpResource good = setup.resource();
        setup.resource().body = archive;
        const QString wrong = setup.wrongUpdate(state, lines);
        if (!wrong.isEmpty() || QFile::exists(setup.cached()))
            return wrong + " (first update)"_s;
        return wrongRecovery(setup, good);
    }

    /// Updates again with a good archive, and uninstalls. Returns a description of the errors,
    /// empty if there are none.
    static QString wrongRecovery(UpdateSetup &setup, const HttpResource &good)
    {
        setup.serve(good);
        setup.setUpdate(updateFiles());
        const QString wrong = setup.update() ? setup.wrongEnd(Package::INSTALLED)
                                             : "the second update does not end"_s;
        return wrong.isEmpty() ? setup.lossAfterRemoval() : wrong;
    }

    bool m_mounts = false;
};

KAVO_TEST_MAIN(ArchiveFaultsTest)
#include "ArchiveFaultsTest.moc"

#include "tools/check/ArchiveCheck.h"
#include "packages/PackageEnvironment.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"
#include "tests/tools/ArchiveShelf.h"
#include "tests/tools/ToolRun.h"
#include "tools/check/CatalogueCheck.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QSet>

#include <sys/stat.h>

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Versions = QVector<ShelvedVersion>;

namespace {

const QString Own = QStringLiteral("Resources/plugins/Piers");
const QString Plugin = Own + QStringLiteral("/64/lin.xpl");
const QString Readme = Own + QStringLiteral("/readme.txt");

CheckReport checked(const ArchiveShelf &shelf)
{
    const ArchiveFolder folder(shelf.folder());
    const QString extractor = Kavo::PackageEnvironment::standard().extractor;
    return checkCatalogue(
        shelf.catalogue(),
        [&](const QByteArray &document, const CatalogueView &catalogue, Findings &findings) {
            ArchiveCheck(document, folder, extractor, findings).check(catalogue);
        });
}

QByteArray zipOf(const Files &files)
{
    return archiveOf(files, QStringLiteral("zip"));
}

QByteArray good()
{
    static const QByteArray archive = zipOf({{Plugin, "code"}, {Readme, "text"}});
    return archive;
}

ShelvedVersion version(const QByteArray &archive, const QString &format = QStringLiteral("zip"))
{
    ShelvedVersion shelved;
    shelved.archive = archive;
    shelved.format = format;
    return shelved;
}

ShelvedVersion tar(const QVector<TarEntry> &entries)
{
    return version(tarOf(entries), QStringLiteral("tar"));
}

/// The next version of the same package, and the same version of another one.
ShelvedVersion numbered(ShelvedVersion shelved, const QString &number, int package = 5)
{
    shelved.version = number;
    shelved.package = package;
    return shelved;
}

QString link(int package = 0, int position = 0)
{
    return QStringLiteral("/%1/versions/%2/link").arg(package).arg(position);
}

QString entry(const char *list, int position = 0, int index = 0)
{
    return QStringLiteral("/0/versions/%1/%2/%3").arg(position).arg(QLatin1String(list)).arg(index);
}

} // namespace

/// What a check finds in archives, which are made by 7-Zip or are what no program would make.
class ArchiveCheckTest final : public QObject
{
    Q_OBJECT

private slots:
    void goodArchivesGiveNothing_data();
    void goodArchivesGiveNothing();
    void faultsOfArchivesAreFound_data();
    void faultsOfArchivesAreFound();
    void namesAreLookedAt_data();
    void namesAreLookedAt();
    void rulesAreComparedWithArchives_data();
    void rulesAreComparedWithArchives();
    void filesOfTwoPackagesAreFound_data();
    void filesOfTwoPackagesAreFound();
    void archivesAreFoundAsClientsNameThem_data();
    void archivesAreFoundAsClientsNameThem();
    void everyRuleIsBroken();
    void sizeIsThatOfAllFiles();
    void whatIsMissingIsCounted();
    void sharedArchiveIsReadOnce();
    void specialFilesHoldNobodyUp();
    void manyEntriesTakeTheirTimeOnly_data();
    void manyEntriesTakeTheirTimeOnly();
    void nothingIsWritten();

private:
    /// Compares and remembers which rules were broken.
    void compare();

    QSet<QString> m_broken;
};

void ArchiveCheckTest::compare()
{
    QFETCH(Versions, versions);
    QFETCH(QStringList, findings);
    const ArchiveShelf shelf(versions);
    const QStringList found = archiveFindings(checked(shelf));
    for (const QString &finding : found)
        m_broken.insert(finding.section(QLatin1Char(' '), 0, 0));
    QCOMPARE(found, findings);
}

void ArchiveCheckTest::goodArchivesGiveNothing_data()
{
    QTest::addColumn<Versions>("versions");

    const Files files{{Plugin, "code"}, {Readme, "text"}, {Own + QStringLiteral("/empty/"), ""}};
    for (const char *format : {"zip", "7z", "tar", "wim"})
        QTest::newRow(format) << Versions{
            version(archiveOf(files, QLatin1String(format)), QLatin1String(format))};
    ShelvedVersion extracted = version(zipOf({{QStringLiteral("64/lin.xpl"), "code"}}));
    extracted.extract = Own + QStringLiteral("/./64/..//");
    QTest::newRow("unpacked into a folder") << Versions{extracted};
    for (const char *format : {"zip", "7z", "tar"}) {
        ShelvedVersion empty = version(archiveOf({}, QLatin1String(format)), QLatin1String(format));
        empty.remove.clear();
        empty.keys = {{QStringLiteral("depends"), QJsonArray{QStringLiteral("6:1.0")}}};
        QTest::addRow("empty %s of a package that only needs another", format)
            << Versions{empty, numbered(version(good()), QStringLiteral("1.0"), 6)};
    }
    ShelvedVersion rules =
        version(zipOf({{Plugin, "code"}, {QStringLiteral("lights.txt"), "own"}}));
    rules.preserve = QStringList{Own + QStringLiteral("/settings.ini"),
                                 QStringLiteral("Output/preferences/piers/a.prf")};
    rules.backup = QStringList{QStringLiteral("lights.txt")};
    rules.remove += {QStringLiteral("lights.txt"), Own + QStringLiteral("/settings.ini"),
                     QStringLiteral("Output/preferences/piers")};
    QTest::newRow("rules of every kind") << Versions{rules};
    ShelvedVersion backedUp = rules;
    backedUp.remove.removeAt(1);
    for (const char *removal : {"Output/preferences/a.prf", "Output/preferences"}) {
        ShelvedVersion written = version(good());
        written.backup = QStringList{QStringLiteral("Output/preferences/a.prf")};
        written.remove += QLatin1String(removal);
        QTest::addRow("original that the add-on itself overwrites, by %s", removal)
            << Versions{written};
    }
    QTest::newRow("the original takes the place of what no rule removes") << Versions{backedUp};
    ShelvedVersion told = version(good());
    told.keys = {
        {QStringLiteral("size"), good().size()},
        {QStringLiteral("sha256"),
         QString::fromLatin1(QCryptographicHash::hash(good(), QCryptographicHash::Sha256).toHex())
             .toUpper()}};
    QTest::newRow("size and checksum") << Versions{told};
    ShelvedVersion newer = numbered(version(zipOf({{Readme, "new"}})), QStringLiteral("2.0"));
    newer.remove += QStringLiteral("Resources/plugins/Old");
    newer.backup = QStringList{QStringLiteral("lights.txt")};
    ShelvedVersion older = version(zipOf({{QStringLiteral("Resources/plugins/Old/a.xpl"), "code"},
                                          {QStringLiteral("lights.txt"), "own"}}));
    older.remove =
        QStringList{QStringLiteral("Resources/plugins/Old"), QStringLiteral("lights.txt")};
    QTest::newRow("rules for what an older version brings") << Versions{newer, older};
    ShelvedVersion folderOnly = version(zipOf({}));
    folderOnly.extract = Own;
    QTest::newRow("the folder to unpack into is made") << Versions{folderOnly};
    ShelvedVersion named = version(zipOf({{QStringLiteral("a"), "text"}}));
    named.extract = QStringLiteral("Own: folder.");
    named.remove = QStringList{named.extract};
    QTest::newRow("the name of the folder to unpack into is not the archive's") << Versions{named};
    QTest::newRow("two versions with the same files")
        << Versions{version(good()), numbered(version(good()), QStringLiteral("2.0"))};
    ShelvedVersion elsewhere = numbered(version(good()), QStringLiteral("1.0"), 6);
    elsewhere.extract = QStringLiteral("Elsewhere");
    elsewhere.remove = QStringList{QStringLiteral("Elsewhere")};
    QTest::newRow("two packages with the same files in two places")
        << Versions{version(good()), elsewhere};
    QTest::newRow("one file that is no archive") << Versions{version(
        archiveOf({{Own + QStringLiteral("/archive.zip.txt"), "text"}}, QStringLiteral("zip")))};
    QTest::newRow("archives beside other files")
        << Versions{version(zipOf({{Own + QStringLiteral("/z.zip"), "x"}, {Readme, "text"}}))};
    QTest::newRow("hard link") << Versions{
        tar({{TarEntry::FILE, Readme.toUtf8(), "text"},
             {TarEntry::HARD_LINK, (Own + QStringLiteral("/b")).toUtf8(), Readme.toUtf8()}})};
}

void ArchiveCheckTest::goodArchivesGiveNothing()
{
    QFETCH(Versions, versions);
    const ArchiveShelf shelf(versions);
    for (const ShelvedVersion &shelved : qAsConst(versions))
        QVERIFY(!shelved.archive.isNull());
    QCOMPARE(archiveFindings(checked(shelf)), QStringList());
}

void ArchiveCheckTest::faultsOfArchivesAreFound_data()
{
    QTest::addColumn<Versions>("versions");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char *name, const ShelvedVersion &shelved, const QString &rule) {
        QTest::newRow(name) << Versions{shelved} << QStringList{rule + QLatin1Char(' ') + link()};
    };
    const QString unreadable = QStringLiteral("archive/unreadable");
    row("missing", version(QByteArray()), QStringLiteral("archive/missing"));
    row("empty file", version(""), unreadable);
    row("a page in its place", version("<html>404</html>"), unreadable);
    const Files files{{Plugin, QByteArray(5000, 'a') + "b"}, {Readme, "text"}};
    for (const char *format : {"zip", "7z", "tar"}) {
        const QByteArray whole = archiveOf(files, QLatin1String(format));
        QTest::addRow("%s, cut", format)
            << Versions{version(whole.left(whole.size() / 2), QLatin1String(format))}
            << QStringList{unreadable + QLatin1Char(' ') + link()};
    }
    const QByteArray inner = archiveOf(files, QStringLiteral("tar"));
    for (const char *format : {"gz", "bz2", "xz"}) {
        const QByteArray whole = compressed(inner, QLatin1String(format));
        const QString suffix = QStringLiteral("tar.") + QLatin1String(format);
        QTest::addRow("tar.%s, cut", format)
            << Versions{version(whole.left(whole.size() - 5), suffix)}
            << QStringList{unreadable + QLatin1Char(' ') + link()};
    }
    for (const char *format : {"zip", "7z"}) {
        QTest::addRow("%s, encrypted", format)
            << Versions{version(archiveOf(files, QLatin1String(format), QStringLiteral("password")),
                                QLatin1String(format))}
            << QStringList{QStringLiteral("archive/encrypted ") + link()};
    }

    const auto nested = [](const char *name, ShelvedVersion shelved) {
        shelved.extract = Own;
        QTest::newRow(name) << Versions{shelved}
                            << QStringList{QStringLiteral("archive/nested ") + link()};
    };
    const QTemporaryDir scratch;
    writeFile(scratch.filePath(QStringLiteral("a.tar")), inner);
    for (const char *format : {"gz", "bz2", "xz"}) {
        const QString suffix = QStringLiteral("tar.") + QLatin1String(format);
        QTest::addRow("tar.%s", format)
            << Versions{[&] {
                   ShelvedVersion shelved =
                       version(compressed(inner, QLatin1String(format)), suffix);
                   shelved.extract = Own;
                   return shelved;
               }()}
            << (qstrcmp(format, "gz") == 0
                    ? QStringList()
                    : QStringList{QStringLiteral("archive/nested ") + link()});
    }
    nested("txz", version(compressed(inner, QStringLiteral("xz")), QStringLiteral("txz")));
    nested("zip in a zip", version(zipOf({{QStringLiteral("add-on.ZIP"), good()}})));
    nested("7z in a folder of a zip", version(zipOf({{QStringLiteral("a/b.7z"), "x"}})));

    ShelvedVersion told = version(good());
    told.keys = {{QStringLiteral("size"), good().size() + 1}};
    QTest::newRow("size") << Versions{told}
                          << QStringList{QStringLiteral("archive/size-differs /0/versions/0/size")};
    told.keys = {{QStringLiteral("size"), good().size() + 1},
                 {QStringLiteral("sha256"), QString(64, QLatin1Char('0'))}};
    QTest::newRow("checksum")
        << Versions{told}
        << QStringList{QStringLiteral("archive/checksum-differs /0/versions/0/sha256"),
                       QStringLiteral("archive/size-differs /0/versions/0/size")};
    told.keys = {{QStringLiteral("size"), good().size()},
                 {QStringLiteral("sha256"), QString(64, QLatin1Char('0'))}};
    QTest::newRow("checksum of the right size")
        << Versions{told}
        << QStringList{QStringLiteral("archive/checksum-differs /0/versions/0/sha256")};
    told.keys = {{QStringLiteral("size"), -1}, {QStringLiteral("sha256"), QString()}};
    QTest::newRow("what clients do not read") << Versions{told} << QStringList();

    const TarEntry file{TarEntry::FILE, Readme.toUtf8(), "text"};
    const QByteArray place = (Own + QStringLiteral("/x")).toUtf8();
    const QString leadsOut = QStringLiteral("archive/leads-out");
    row("climbing name", tar({file, {TarEntry::FILE, "../evil", "x"}}), leadsOut);
    row("absolute name", tar({file, {TarEntry::FILE, "/tmp/evil", "x"}}), leadsOut);
    row("link that leads out", tar({file, {TarEntry::LINK, place, "../../../.."}}), leadsOut);
    row("absolute link", tar({file, {TarEntry::LINK, place, "/etc"}}), leadsOut);
    row("device", tar({file, {TarEntry::DEVICE, place, ""}}), leadsOut);
    row("pipe", tar({file, {TarEntry::PIPE, place, ""}}), leadsOut);
    row("link inside", tar({file, {TarEntry::LINK, place, "readme.txt"}}),
        QStringLiteral("archive/link"));
}

void ArchiveCheckTest::faultsOfArchivesAreFound()
{
    compare();
}

void ArchiveCheckTest::namesAreLookedAt_data()
{
    QTest::addColumn<Versions>("versions");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char *name, const ShelvedVersion &shelved, const char *rule) {
        QTest::newRow(name) << Versions{shelved}
                            << QStringList{QLatin1String(rule) + QLatin1Char(' ') + link()};
    };
    const QByteArray own = Own.toUtf8() + '/';
    const auto longNamed = [&own](const QByteArray &name) {
        return tar({{TarEntry::LONG_NAME, "././@LongLink", own + name + '\0'},
                    {TarEntry::FILE, "short", "x"},
                    {TarEntry::FILE, Readme.toUtf8(), "text"}});
    };
    QTest::newRow("name of 255 bytes")
        << Versions{longNamed(QByteArray(255, 'n'))} << QStringList();
    row("name of 256 bytes", longNamed(QByteArray(256, 'n')), "archive/refused-name");
    row("name of 128 letters in 256 bytes", longNamed(QByteArray("\xc3\xa4").repeated(128)),
        "archive/refused-name");
    row("folder of 256 bytes", longNamed(QByteArray(256, 'n') + "/a"), "archive/refused-name");
    const QByteArray deep = QByteArray("folder/").repeated(600);
    QTest::newRow("path of 4095 bytes")
        << Versions{longNamed(deep.left(4095 - own.size()))} << QStringList();
    row("path of 4096 bytes", longNamed(deep.left(4096 - own.size())), "archive/refused-name");

    for (const char *name : {"back\\slash", "a:b", "star*", "question?", "\"quoted\"", "<", ">",
                             "a|b", "tab\tin it", "blank ", "dot.", "folder./a"})
        QTest::newRow(name) << Versions{tar({{TarEntry::FILE, own + name, "x"}})}
                            << QStringList{QStringLiteral("archive/foreign-name ") + link()};
    QTest::newRow("names that all take")
        << Versions{tar({{TarEntry::FILE, own + " a .b, c;d'e#f%g&h{i}~$HOME \xc3\xa4", "x"},
                         {TarEntry::FILE, own + ".hidden", "x"}})}
        << QStringList();

    row("file and file",
        tar({{TarEntry::FILE, own + "a/Name.txt", "x"}, {TarEntry::FILE, own + "a/name.txt", "x"}}),
        "archive/case-differs");
    row("folder and folder with the same in them",
        tar({{TarEntry::FILE, own + "a/x/y", "x"}, {TarEntry::FILE, own + "A/x/y", "x"}}),
        "archive/case-differs");
    row("other letters",
        tar({{TarEntry::FILE, own + "\xc3\xa4", "x"}, {TarEntry::FILE, own + "\xc3\x84", "x"}}),
        "archive/case-differs");
    QTest::newRow("in two folders") << Versions{tar({{TarEntry::FILE, own + "a/Name", "x"},
                                                     {TarEntry::FILE, own + "b/name", "x"}})}
                                    << QStringList();
    ShelvedVersion small = tar({{TarEntry::FILE, "resources/plugins/Piers/a", "x"}});
    small.remove = QStringList{QStringLiteral("resources/plugins/Piers")};
    // Both the folder and the one in it.
    QTest::newRow("folder of the simulator")
        << Versions{small}
        << QStringList{QStringLiteral("archive/case-differs ") + link(),
                       QStringLiteral("archive/case-differs ") + link()};

    row("file, then a folder of its name",
        tar({{TarEntry::FILE, own + "a", "x"}, {TarEntry::FILE, own + "a/b", "x"}}),
        "archive/file-and-folder");
    row("folder, then a file of its name",
        tar({{TarEntry::FILE, own + "a/b", "x"}, {TarEntry::FILE, own + "a", "x"}}),
        "archive/file-and-folder");
    row("file, then an empty folder of its name",
        tar({{TarEntry::FILE, own + "a", "x"}, {TarEntry::FOLDER, own + "a", ""}}),
        "archive/file-and-folder");
    QTest::newRow("the same file and folder twice")
        << Versions{tar({{TarEntry::FOLDER, own + "a", ""},
                         {TarEntry::FILE, own + "a/b", "x"},
                         {TarEntry::FOLDER, own + "a/", ""},
                         {TarEntry::FILE, own + "./a//b", "x"}})}
        << QStringList();
}

void ArchiveCheckTest::namesAreLookedAt()
{
    compare();
}

void ArchiveCheckTest::rulesAreComparedWithArchives_data()
{
    QTest::addColumn<Versions>("versions");
    QTest::addColumn<QStringList>("findings");

    const auto row = [](const char *name, const Versions &versions, const QString &rule,
                        const QString &pointer) {
        QTest::newRow(name) << versions << QStringList{rule + QLatin1Char(' ') + pointer};
    };
    const auto with = [](QStringList ShelvedVersion::*list, const QStringList &entries) {
        ShelvedVersion shelved = version(good());
        shelved.*list = entries;
        return shelved;
    };
    const auto removing = [&with](const QStringList &entries) {
        return with(&ShelvedVersion::remove, entries);
    };
    const QString left = QStringLiteral("archive/left-behind");
    const QString removals = QStringLiteral("/0/versions/0/uninstall/remove");
    row("file that no entry removes", {removing({Plugin})}, left, removals);
    row("entry in another case", {removing({Own, Own.toUpper()})},
        QStringLiteral("remove/names-nothing"), entry("uninstall/remove", 0, 1));
    row("entry that clients skip", {removing({QStringLiteral("Resources/plugins"), Plugin})}, left,
        removals);
    QTest::newRow("entry whose name only begins the same")
        << Versions{removing({Plugin, Own + QStringLiteral("/readme")})}
        << QStringList{left + QLatin1Char(' ') + removals,
                       QStringLiteral("remove/names-nothing ") + entry("uninstall/remove", 0, 1)};
    QTest::newRow("each file by itself") << Versions{removing({Plugin, Readme})} << QStringList();
    QTest::newRow("no entry at all is told without archives")
        << Versions{removing({})} << QStringList();
    row("entry below a file", {removing({Own, Readme + QStringLiteral("/x")})},
        QStringLiteral("remove/names-nothing"), entry("uninstall/remove", 0, 1));
    ShelvedVersion link =
        tar({{TarEntry::FILE, Readme.toUtf8(), "text"}, {TarEntry::LINK, "link", "elsewhere"}});
    QTest::newRow("link that no entry removes")
        << Versions{link}
        << QStringList{QStringLiteral("archive/link /0/versions/0/link"),
                       left + QLatin1Char(' ') + removals};

    const auto preserving = [&with](const QString &place) {
        return with(&ShelvedVersion::preserve, {place});
    };
    row("folder to keep", {preserving(Own + QStringLiteral("/64/"))},
        QStringLiteral("preserve/folder"), entry("install/preserve"));
    row("file to keep that is brought", {preserving(Readme)}, QStringLiteral("preserve/shipped"),
        entry("install/preserve"));
    QTest::newRow("skipped entries")
        << Versions{with(&ShelvedVersion::preserve,
                         {QStringLiteral("../x"), QStringLiteral("/etc/hosts"), QString(),
                          QStringLiteral("Resources/plugins")})}
        << QStringList();
    const auto backing = [&with](const QString &place) {
        return with(&ShelvedVersion::backup, {place});
    };
    row("folder to back up", {backing(Own)}, QStringLiteral("backup/folder"),
        entry("install/backup"));
    ShelvedVersion beside = backing(QStringLiteral("Output/preferences/a.prf"));
    beside.remove += Own + QStringLiteral("/64");
    beside.remove += QStringLiteral("Output/preferences/a.prf/b");
    QTest::newRow("removals beside a backup that is not brought")
        << Versions{beside}
        << QStringList{QStringLiteral("backup/not-shipped ") + entry("install/backup"),
                       QStringLiteral("remove/names-nothing ") + entry("uninstall/remove", 0, 2)};
    row("backup of what is not brought", {backing(QStringLiteral("lights.txt"))},
        QStringLiteral("backup/not-shipped"), entry("install/backup"));

    ShelvedVersion missing = numbered(version(QByteArray()), QStringLiteral("0.9"));
    missing.remove += QStringLiteral("Resources/plugins/Old");
    row("what is missing may have brought it",
        {removing({Own, QStringLiteral("Resources/plugins/Old")}), missing},
        QStringLiteral("archive/missing"), QStringLiteral("/0/versions/1/link"));
    ShelvedVersion outside = version(good());
    outside.extract = QStringLiteral("../outside");
    outside.remove += QStringLiteral("Resources/plugins/Old");
    QTest::newRow("unpacked outside") << Versions{outside} << QStringList();
    ShelvedVersion below = version(good());
    below.extract = QStringLiteral("Elsewhere");
    below.remove += QStringLiteral("Elsewhere");
    row("paths begin where the archive is unpacked", {below},
        QStringLiteral("remove/names-nothing"), entry("uninstall/remove"));
}

void ArchiveCheckTest::rulesAreComparedWithArchives()
{
    compare();
}

void ArchiveCheckTest::filesOfTwoPackagesAreFound_data()
{
    QTest::addColumn<Versions>("versions");
    QTest::addColumn<QStringList>("findings");

    const auto other = [](const QString &number) {
        ShelvedVersion shelved = numbered(
            version(zipOf({{Plugin, "other code"}, {Own + QStringLiteral("/other.txt"), "x"}})),
            number, 6);
        return shelved;
    };
    const ShelvedVersion free = numbered(version(zipOf({{Own + QStringLiteral("/free.txt"), "x"}})),
                                         QStringLiteral("2.0"), 6);
    const QString shared = QStringLiteral("archive/shared-file ");
    const QString older = QStringLiteral("archive/shared-with-older ");
    QTest::newRow("newest versions")
        << Versions{version(good()), other(QStringLiteral("1.0"))} << QStringList{shared + link(1)};
    QTest::newRow("older version of the second")
        << Versions{version(good()), free, other(QStringLiteral("1.0"))}
        << QStringList{older + link(1, 1)};
    QTest::newRow("older version of the first")
        << Versions{other(QStringLiteral("1.0")), free, version(good())}
        << QStringList{older + link(1)};
    QTest::newRow("newest and older versions")
        << Versions{version(good()), other(QStringLiteral("2.0")), other(QStringLiteral("1.0"))}
        << QStringList{shared + link(1)};
    QTest::newRow("one that shares nothing behind")
        << Versions{version(good()), free, other(QStringLiteral("1.0")),
                    numbered(version(zipOf({{Own + QStringLiteral("/lonely"), "x"}})),
                             QStringLiteral("1.0"), 7)}
        << QStringList{older + link(1, 1)};
    QTest::newRow("folders may be shared") << Versions{version(good()), free} << QStringList();
    ShelvedVersion third = other(QStringLiteral("1.0"));
    third.package = 7;
    // With one of the others it is enough.
    QTest::newRow("three packages")
        << Versions{version(good()), other(QStringLiteral("1.0")), third}
        << QStringList{shared + link(1), shared + link(2), shared + link(2)};
    ShelvedVersion same = numbered(version(QByteArray()), QStringLiteral("1.0"), 6);
    same.keys = {{QStringLiteral("link"),
                  QStringLiteral("https://addons.example.org/files/package-5-1.0.zip")}};
    QTest::newRow("one archive") << Versions{version(good()), same}
                                 << QStringList{shared + link(1)};
}

void ArchiveCheckTest::filesOfTwoPackagesAreFound()
{
    compare();
}

void ArchiveCheckTest::archivesAreFoundAsClientsNameThem_data()
{
    QTest::addColumn<Versions>("versions");
    QTest::addColumn<QStringList>("findings");

    const auto at = [](const QString &path, const QString &address, const QByteArray &archive) {
        ShelvedVersion shelved = version(archive);
        shelved.path = path;
        shelved.keys = {{QStringLiteral("link"), address}};
        return shelved;
    };
    const QString server = QStringLiteral("https://addons.example.org");
    QTest::newRow("name without the question")
        << Versions{at(QStringLiteral("a b.zip"), server + QStringLiteral("/x/a%20b.zip?c=d.zip#e"),
                       good())}
        << QStringList();
    QTest::newRow("folders of the address")
        << Versions{at(QStringLiteral("x/y/a.zip"), server + QStringLiteral("/x/y/a.zip"), good())}
        << QStringList();
    QTest::newRow("the folders go before the name")
        << Versions{at(QStringLiteral("x/a.zip"), server + QStringLiteral("/x/a.zip"), good()),
                    numbered(at(QStringLiteral("a.zip"), server + QStringLiteral("/y/a.zip"), ""),
                             QStringLiteral("0.9"))}
        << QStringList{QStringLiteral("archive/unreadable ") + link(0, 1)};
    QTest::newRow("one file for two addresses")
        << Versions{at(QStringLiteral("a.zip"), server + QStringLiteral("/x/a.zip"), good()),
                    numbered(
                        at(QStringLiteral("a.zip"), server + QStringLiteral("/y/a.zip"), good()),
                        QStringLiteral("0.9"))}
        << QStringList{QStringLiteral("archive/ambiguous ") + link(0, 1)};
    QTest::newRow("one address twice")
        << Versions{at(QStringLiteral("a.zip"), server + QStringLiteral("/x/a.zip"), good()),
                    numbered(
                        at(QStringLiteral("a.zip"), server + QStringLiteral("/x/a.zip"), good()),
                        QStringLiteral("0.9"))}
        << QStringList();
    QTest::newRow("missing twice is told once")
        << Versions{at(QString(), server + QStringLiteral("/x/a.zip"), QByteArray()),
                    numbered(at(QString(), server + QStringLiteral("/x/a.zip"), QByteArray()),
                             QStringLiteral("0.9"))}
        << QStringList{QStringLiteral("archive/missing ") + link()};
    QTest::newRow("outside of the folder")
        << Versions{at(QStringLiteral("../a.zip"), server + QStringLiteral("/../a.zip"), good()),
                    numbered(at(QString(), server + QStringLiteral("/%2e%2e/a.zip"), QByteArray()),
                             QStringLiteral("0.9"))}
        << QStringList{QStringLiteral("archive/missing ") + link(),
                       QStringLiteral("archive/missing ") + link(0, 1)};
    QTest::newRow("folder of that name")
        << Versions{at(QStringLiteral("a.zip/b"), server + QStringLiteral("/a.zip"), good())}
        << QStringList{QStringLiteral("archive/missing ") + link()};
    QTest::newRow("no address") << Versions{at(QStringLiteral("a.zip"), QString(), good()),
                                            numbered(at(QStringLiteral("a.zip"),
                                                        server + QStringLiteral("/x/"), good()),
                                                     QStringLiteral("0.9"))}
                                << QStringList();
}

void ArchiveCheckTest::archivesAreFoundAsClientsNameThem()
{
    compare();
}

/// By the rows above, which have run by now; those of updates have a test of their own.
void ArchiveCheckTest::everyRuleIsBroken()
{
    for (const RuleText &rule : allRules()) {
        const bool isLookedFor = rule.rule >= Rule::ARCHIVE_MISSING &&
                                 rule.rule < Rule::UPDATE_LEFT_OVER &&
                                 rule.rule != Rule::ARCHIVE_UNPACKED_SIZE;
        QVERIFY2(!isLookedFor || m_broken.contains(QString::fromLatin1(rule.name)), rule.name);
    }
}

void ArchiveCheckTest::sizeIsThatOfAllFiles()
{
    const ArchiveShelf shelf({version(zipOf({{Readme, QByteArray(1000, 'a')},
                                             {Plugin, QByteArray(536, 'b')},
                                             {Own + QStringLiteral("/empty/"), ""}})),
                              numbered(version(zipOf({{Readme, "x"}})), QStringLiteral("2.0")),
                              numbered(version(zipOf({})), QStringLiteral("3.0"))});
    QStringList sizes;
    const CheckReport report = checked(shelf);
    for (const Finding &finding : report.findings()) {
        if (finding.rule == Rule::ARCHIVE_UNPACKED_SIZE)
            sizes.append(finding.pointer + QLatin1Char(' ') + finding.message);
    }
    QCOMPARE(sizes,
             QStringList({link() + QStringLiteral(" Unpacked it is 1.50 KB in 2 files."),
                          link(0, 1) + QStringLiteral(" Unpacked it is 1.00 Bytes in 1 file.")}));
}

void ArchiveCheckTest::whatIsMissingIsCounted()
{
    ShelvedVersion shelved =
        version(zipOf({{Readme, "a"}, {QStringLiteral("a"), "a"}, {QStringLiteral("b/c"), "c"}}));
    const ArchiveShelf shelf({shelved});
    const CheckReport report = checked(shelf);
    QVERIFY(report.has(Rule::ARCHIVE_LEFT_BEHIND));
    for (const Finding &finding : report.findings()) {
        if (finding.rule == Rule::ARCHIVE_LEFT_BEHIND)
            QCOMPARE(finding.message, QStringLiteral("No entry removes \"a\" and 1 more."));
    }
}

/// By a stand-in that counts how often 7-Zip is started.
void ArchiveCheckTest::sharedArchiveIsReadOnce()
{
    const QTemporaryDir scratch;
    const QString program = scratch.filePath(QStringLiteral("7z"));
    const QString runs = scratch.filePath(QStringLiteral("runs"));
    QVERIFY(writeFile(program,
                      "#!/bin/sh\necho run >> '" + runs.toUtf8() + "'\nexec /usr/bin/7z \"$@\"\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    ShelvedVersion same = numbered(version(QByteArray()), QStringLiteral("2.0"));
    same.keys = {{QStringLiteral("link"),
                  QStringLiteral("https://addons.example.org/files/package-5-1.0.zip")}};
    ShelvedVersion other = numbered(same, QStringLiteral("1.0"), 6);
    other.extract = QStringLiteral("Elsewhere");
    other.remove = QStringList{QStringLiteral("Elsewhere")};
    const ArchiveShelf shelf({version(good()), same, other});
    const ArchiveFolder folder(shelf.folder());
    const CheckReport report =
        checkCatalogue(shelf.catalogue(), [&](const QByteArray &document,
                                              const CatalogueView &catalogue, Findings &findings) {
            ArchiveCheck(document, folder, program, findings).check(catalogue);
        });
    QCOMPARE(archiveFindings(report), QStringList());
    QCOMPARE(readFile(runs), QByteArray("run\n"));
}

/// Nobody ever writes into the pipe.
void ArchiveCheckTest::specialFilesHoldNobodyUp()
{
    const ArchiveShelf shelf({version(QByteArray())});
    const QString pipe = shelf.folder() + QLatin1Char('/') + version(QByteArray()).fileName();
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QCOMPARE(archiveFindings(checked(shelf)),
             QStringList{QStringLiteral("archive/missing ") + link()});
}

void ArchiveCheckTest::manyEntriesTakeTheirTimeOnly_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("in one folder") << 60'000 << QByteArray("name-%1.txt");
    QTest::newRow("each in folders of its own")
        << 15'000 << QByteArray("%1/") + QByteArray("a/").repeated(35) + "x";
    QTest::newRow("names that differ in case only") << 60'000 << QByteArray("%2");
}

/// What were quadratic would take minutes.
void ArchiveCheckTest::manyEntriesTakeTheirTimeOnly()
{
    QFETCH(int, count);
    QFETCH(QByteArray, name);
    QVector<TarEntry> entries;
    for (int number = 0; number < count; ++number) {
        QByteArray cases;
        for (int bit = 0; bit < 16; ++bit)
            cases += (number >> bit) % 2 == 0 ? 'a' : 'A';
        entries.append(
            {TarEntry::FILE,
             QByteArray(name).replace("%1", QByteArray::number(number)).replace("%2", cases), ""});
    }
    ShelvedVersion many = tar(entries);
    many.extract = Own;
    QStringList removals;
    for (int number = 0; number < 2000; ++number)
        removals.append(Own + QStringLiteral("/name-%1.txt").arg(number));
    many.remove = removals;
    many.backup = removals;
    ShelvedVersion again = numbered(many, QStringLiteral("1.0"), 6);
    const ArchiveShelf shelf({many, again});
    QElapsedTimer timer;
    timer.start();
    const CheckReport report = checked(shelf);
    QVERIFY(report.has(Rule::ARCHIVE_SHARED_FILE));
    QVERIFY2(timer.elapsed() < 60'000, qPrintable(QString::number(timer.elapsed())));
}

void ArchiveCheckTest::nothingIsWritten()
{
    const ScratchProfile profile;
    ShelvedVersion told = version(good());
    told.keys = {{QStringLiteral("sha256"), QString(64, QLatin1Char('0'))}};
    const ArchiveShelf shelf(
        {told, numbered(tar({{TarEntry::LINK, "a", "b"}}), QStringLiteral("2.0")),
         numbered(version(compressed("x", QStringLiteral("xz")), QStringLiteral("xz")),
                  QStringLiteral("3.0"))});
    const auto archives = fileTree(shelf.folder());
    const auto home = fileTree(profile.home());
    const auto working = fileTree(profile.folder(QStringLiteral("working")));
    const ToolRun run({QStringLiteral("check"), shelf.catalogueFile(), QStringLiteral("--archives"),
                       shelf.folder()},
                      profile.folder(QStringLiteral("working")));
    QCOMPARE(run.status(), 2);
    QCOMPARE(run.complaints(), QByteArray());
    QVERIFY(run.output().contains("archive/checksum-differs"));
    QCOMPARE(fileTree(shelf.folder()), archives);
    QCOMPARE(fileTree(profile.home()), home);
    QCOMPARE(fileTree(profile.folder(QStringLiteral("working"))), working);
    QCOMPARE(readFile(shelf.catalogueFile()), shelf.catalogue());
}

KAVO_TEST_MAIN(ArchiveCheckTest)
#include "ArchiveCheckTest.moc"

#include "tools/check/ArchiveCheck.h"
#include "packages/PackageEnvironment.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/ArchiveShelf.h"
#include "tests/tools/ToolRun.h"
#include "tools/ExitStatus.h"
#include "tools/check/CatalogueCheck.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QSet>

#include <optional>

#include <sys/stat.h>

using namespace Kavo::Testing;
using namespace Kavo::Tools;
using Versions = QVector<ShelvedVersion>;

namespace {

const QString Own = "Resources/plugins/Piers"_s;
const QString Plugin = Own + "/64/lin.xpl"_s;
const QString Readme = Own + "/readme.txt"_s;

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
    return archiveOf(files, "zip"_s);
}

QByteArray good()
{
    static const QByteArray archive = zipOf({{Plugin, "code"}, {Readme, "text"}});
    return archive;
}

ShelvedVersion version(const QByteArray &archive, const QString &format = "zip"_s)
{
    ShelvedVersion shelved;
    shelved.archive = archive;
    shelved.format = format;
    return shelved;
}

ShelvedVersion tar(const QVector<TarEntry> &entries)
{
    return version(tarOf(entries), "tar"_s);
}

/// Returns the version with another number, and as one of another package if that is given.
ShelvedVersion numbered(ShelvedVersion shelved, const QString &number, int package = 5)
{
    shelved.version = number;
    shelved.package = package;
    return shelved;
}

QString link(int package = 0, int position = 0)
{
    return "/%1/versions/%2/link"_s.arg(package).arg(position);
}

QString entry(const char *list, int position = 0, int index = 0)
{
    return "/0/versions/%1/%2/%3"_s.arg(position).arg(QLatin1String(list)).arg(index);
}

} // namespace

/// Tests what a check finds in archives, both those that 7-Zip has created and hand-made ones.
class ArchiveCheckTest final : public QObject
{
    Q_OBJECT

private slots:
    void goodArchivesGiveNothing_data()
    {
        m_rows.emplace();
        const Files files{{Plugin, "code"}, {Readme, "text"}, {Own + "/empty/"_s, ""}};
        for (const QString &format : {"zip"_s, "7z"_s, "tar"_s, "wim"_s})
            row(format, {version(archiveOf(files, format), format)});
        ShelvedVersion extracted = version(zipOf({{"64/lin.xpl"_s, "code"}}));
        extracted.extract = Own + "/./64/..//"_s;
        row("unpacked into a folder", {extracted});
        for (const QString &format : {"zip"_s, "7z"_s, "tar"_s}) {
            ShelvedVersion empty = version(archiveOf({}, format), format);
            empty.remove.clear();
            empty.keys = {{"depends"_s, QJsonArray{"6:1.0"_s}}};
            row("empty "_s + format + " of a package that only needs another"_s,
                {empty, numbered(version(good()), "1.0"_s, 6)});
        }
        ShelvedVersion rules = version(zipOf({{Plugin, "code"}, {"lights.txt"_s, "own"}}));
        rules.preserve = QStringList{Own + "/settings.ini"_s, "Output/preferences/piers/a.prf"_s};
        rules.backup = QStringList{"lights.txt"_s};
        rules.remove += {"lights.txt"_s, Own + "/settings.ini"_s, "Output/preferences/piers"_s};
        row("rules of every kind", {rules});
        ShelvedVersion backedUp = rules;
        backedUp.remove.removeAt(1);
        for (const QString &removal : {"Output/preferences/a.prf"_s, "Output/preferences"_s}) {
            ShelvedVersion written = version(good());
            written.backup = QStringList{"Output/preferences/a.prf"_s};
            written.remove += removal;
            row("original that the add-on itself overwrites, by "_s + removal, {written});
        }
        row("the original takes the place of what no rule removes", {backedUp});
        ShelvedVersion told = version(good());
        told.keys = {
            {"size"_s, good().size()},
            {"sha256"_s, QString::fromLatin1(
                             QCryptographicHash::hash(good(), QCryptographicHash::Sha256).toHex())
                             .toUpper()}};
        row("size and checksum", {told});
        ShelvedVersion newer = numbered(version(zipOf({{Readme, "new"}})), "2.0"_s);
        newer.remove += "Resources/plugins/Old"_s;
        newer.backup = QStringList{"lights.txt"_s};
        ShelvedVersion older =
            version(zipOf({{"Resources/plugins/Old/a.xpl"_s, "code"}, {"lights.txt"_s, "own"}}));
        older.remove = QStringList{"Resources/plugins/Old"_s, "lights.txt"_s};
        row("rules for what an older version brings", {newer, older});
        ShelvedVersion folderOnly = version(zipOf({}));
        folderOnly.extract = Own;
        row("the folder to unpack into is made", {folderOnly});
        ShelvedVersion named = version(zipOf({{"a"_s, "text"}}));
        named.extract = "Own: folder."_s;
        named.remove = QStringList{named.extract};
        row("the name of the folder to unpack into is not the archive's", {named});
        row("two versions with the same files",
            {version(good()), numbered(version(good()), "2.0"_s)});
        ShelvedVersion elsewhere = numbered(version(good()), "1.0"_s, 6);
        elsewhere.extract = "Elsewhere"_s;
        elsewhere.remove = QStringList{"Elsewhere"_s};
        row("two packages with the same files in two places", {version(good()), elsewhere});
        row("one file that is no archive",
            {version(archiveOf({{Own + "/archive.zip.txt"_s, "text"}}, "zip"_s))});
        row("archives beside other files",
            {version(zipOf({{Own + "/z.zip"_s, "x"}, {Readme, "text"}}))});
        row("hard link", {tar({{TarEntry::FILE, Readme.toUtf8(), "text"},
                               {TarEntry::HARD_LINK, (Own + "/b"_s).toUtf8(), Readme.toUtf8()}})});
    }

    void goodArchivesGiveNothing()
    {
        const Versions versions = std::get<0>(FindingRows::current());
        for (const ShelvedVersion &shelved : versions)
            QVERIFY(!shelved.archive.isNull());
        compare();
    }

    void faultsOfArchivesAreFound_data()
    {
        m_rows.emplace();
        const QString unreadable = "archive/unreadable"_s;
        fault("missing", version(QByteArray()), "archive/missing"_s);
        fault("empty file", version(""), unreadable);
        fault("a page in its place", version("<html>404</html>"), unreadable);
        const Files files{{Plugin, QByteArray(5000, 'a') + "b"}, {Readme, "text"}};
        for (const QString &format : {"zip"_s, "7z"_s, "tar"_s}) {
            const QByteArray whole = archiveOf(files, format);
            fault(format + ", cut"_s, version(whole.left(whole.size() / 2), format), unreadable);
        }
        const QByteArray inner = archiveOf(files, "tar"_s);
        for (const QString &format : {"gz"_s, "bz2"_s, "xz"_s}) {
            const QByteArray whole = compressed(inner, format);
            const QString suffix = "tar."_s + format;
            fault(suffix + ", cut"_s, version(whole.left(whole.size() - 5), suffix), unreadable);
        }
        for (const QString &format : {"zip"_s, "7z"_s}) {
            fault(format + ", encrypted"_s, version(archiveOf(files, format, "password"_s), format),
                  "archive/encrypted"_s);
        }

        const auto nested = [this](const char *name, ShelvedVersion shelved) {
            shelved.extract = Own;
            fault(name, shelved, "archive/nested"_s);
        };
        ShelvedVersion gzip = version(compressed(inner, "gz"_s), "tar.gz"_s);
        gzip.extract = Own;
        row("tar.gz", {gzip});
        nested("tar.bz2", version(compressed(inner, "bz2"_s), "tar.bz2"_s));
        nested("tar.xz", version(compressed(inner, "xz"_s), "tar.xz"_s));
        nested("txz", version(compressed(inner, "xz"_s), "txz"_s));
        nested("zip in a zip", version(zipOf({{"add-on.ZIP"_s, good()}})));
        nested("7z in a folder of a zip", version(zipOf({{"a/b.7z"_s, "x"}})));

        ShelvedVersion told = version(good());
        told.keys = {{"size"_s, good().size() + 1}};
        row("size", {told}, {"archive/size-differs /0/versions/0/size"_s});
        told.keys = {{"size"_s, good().size() + 1}, {"sha256"_s, QString(64, QLatin1Char('0'))}};
        row("checksum", {told},
            {"archive/checksum-differs /0/versions/0/sha256"_s,
             "archive/size-differs /0/versions/0/size"_s});
        told.keys = {{"size"_s, good().size()}, {"sha256"_s, QString(64, QLatin1Char('0'))}};
        row("checksum of the right size", {told},
            {"archive/checksum-differs /0/versions/0/sha256"_s});
        told.keys = {{"size"_s, -1}, {"sha256"_s, QString()}};
        row("what clients do not read", {told});

        const TarEntry file{TarEntry::FILE, Readme.toUtf8(), "text"};
        const QByteArray place = (Own + "/x"_s).toUtf8();
        const QString leadsOut = "archive/leads-out"_s;
        fault("climbing name", tar({file, {TarEntry::FILE, "../evil", "x"}}), leadsOut);
        fault("absolute name", tar({file, {TarEntry::FILE, "/tmp/evil", "x"}}), leadsOut);
        fault("link that leads out", tar({file, {TarEntry::LINK, place, "../../../.."}}), leadsOut);
        fault("absolute link", tar({file, {TarEntry::LINK, place, "/etc"}}), leadsOut);
        fault("device", tar({file, {TarEntry::DEVICE, place, ""}}), leadsOut);
        fault("pipe", tar({file, {TarEntry::PIPE, place, ""}}), leadsOut);
        fault("link inside", tar({file, {TarEntry::LINK, place, "readme.txt"}}), "archive/link"_s);
    }

    void faultsOfArchivesAreFound() { compare(); }

    void namesAreLookedAt_data()
    {
        m_rows.emplace();
        const QByteArray own = Own.toUtf8() + '/';
        const auto longNamed = [&own](const QByteArray &name) {
            return tar({{TarEntry::LONG_NAME, "././@LongLink", own + name + '\0'},
                        {TarEntry::FILE, "short", "x"},
                        {TarEntry::FILE, Readme.toUtf8(), "text"}});
        };
        const auto holding = [&own](const QList<QByteArray> &names) {
            QVector<TarEntry> entries;
            for (const QByteArray &name : names)
                entries.append({TarEntry::FILE, own + name, "x"});
            return tar(entries);
        };
        row("name of 255 bytes", {longNamed(QByteArray(255, 'n'))});
        fault("name of 256 bytes", longNamed(QByteArray(256, 'n')), "archive/refused-name"_s);
        fault("name of 128 letters in 256 bytes", longNamed(QByteArray("\xc3\xa4").repeated(128)),
              "archive/refused-name"_s);
        fault("folder of 256 bytes", longNamed(QByteArray(256, 'n') + "/a"),
              "archive/refused-name"_s);
        const QByteArray deep = QByteArray("folder/").repeated(600);
        row("path of 4095 bytes", {longNamed(deep.left(4095 - own.size()))});
        fault("path of 4096 bytes", longNamed(deep.left(4096 - own.size())),
              "archive/refused-name"_s);

        for (const char *name : {"back\\slash", "a:b", "star*", "question?", "\"quoted\"", "<", ">",
                                 "a|b", "tab\tin it", "blank ", "dot.", "folder./a"})
            row(name, {holding({name})}, {"archive/foreign-name "_s + link()});
        row("names that all take", {holding({" a .b, c;d'e#f%g&h{i}~$HOME \xc3\xa4", ".hidden"})});

        fault("file and file", holding({"a/Name.txt", "a/name.txt"}), "archive/case-differs"_s);
        fault("folder and folder with the same in them", holding({"a/x/y", "A/x/y"}),
              "archive/case-differs"_s);
        fault("other letters", holding({"\xc3\xa4", "\xc3\x84"}), "archive/case-differs"_s);
        row("in two folders", {holding({"a/Name", "b/name"})});
        ShelvedVersion small = tar({{TarEntry::FILE, "resources/plugins/Piers/a", "x"}});
        small.remove = QStringList{"resources/plugins/Piers"_s};
        // One finding is about "resources", the other about "resources/plugins".
        row("folder of the simulator", {small},
            {"archive/case-differs "_s + link(), "archive/case-differs "_s + link()});

        fault("file, then a folder of its name", holding({"a", "a/b"}),
              "archive/file-and-folder"_s);
        fault("folder, then a file of its name", holding({"a/b", "a"}),
              "archive/file-and-folder"_s);
        fault("file, then an empty folder of its name",
              tar({{TarEntry::FILE, own + "a", "x"}, {TarEntry::FOLDER, own + "a", ""}}),
              "archive/file-and-folder"_s);
        row("the same file and folder twice", {tar({{TarEntry::FOLDER, own + "a", ""},
                                                    {TarEntry::FILE, own + "a/b", "x"},
                                                    {TarEntry::FOLDER, own + "a/", ""},
                                                    {TarEntry::FILE, own + "./a//b", "x"}})});
    }

    void namesAreLookedAt() { compare(); }

    void rulesAreComparedWithArchives_data()
    {
        m_rows.emplace();
        const auto with = [](QStringList ShelvedVersion::*list, const QStringList &entries) {
            ShelvedVersion shelved = version(good());
            shelved.*list = entries;
            return shelved;
        };
        const auto removing = [&with](const QStringList &entries) {
            return with(&ShelvedVersion::remove, entries);
        };
        const QString left = "archive/left-behind"_s;
        const QString removals = "/0/versions/0/uninstall/remove"_s;
        fault("file that no entry removes", {removing({Plugin})}, left, removals);
        fault("entry in another case", {removing({Own, Own.toUpper()})}, "remove/names-nothing"_s,
              entry("uninstall/remove", 0, 1));
        fault("entry that clients skip", {removing({"Resources/plugins"_s, Plugin})}, left,
              removals);
        row("entry whose name only begins the same", {removing({Plugin, Own + "/readme"_s})},
            {left + QLatin1Char(' ') + removals,
             "remove/names-nothing "_s + entry("uninstall/remove", 0, 1)});
        row("each file by itself", {removing({Plugin, Readme})});
        row("no entry at all is told without archives", {removing({})});
        fault("entry below a file", {removing({Own, Readme + "/x"_s})}, "remove/names-nothing"_s,
              entry("uninstall/remove", 0, 1));
        ShelvedVersion link =
            tar({{TarEntry::FILE, Readme.toUtf8(), "text"}, {TarEntry::LINK, "link", "elsewhere"}});
        row("link that no entry removes", {link},
            {"archive/link /0/versions/0/link"_s, left + QLatin1Char(' ') + removals});

        const auto preserving = [&with](const QString &place) {
            return with(&ShelvedVersion::preserve, {place});
        };
        fault("folder to keep", {preserving(Own + "/64/"_s)}, "preserve/folder"_s,
              entry("install/preserve"));
        fault("file to keep that is brought", {preserving(Readme)}, "preserve/shipped"_s,
              entry("install/preserve"));
        row("skipped entries",
            {with(&ShelvedVersion::preserve,
                  {"../x"_s, "/etc/hosts"_s, QString(), "Resources/plugins"_s})});
        const auto backing = [&with](const QString &place) {
            return with(&ShelvedVersion::backup, {place});
        };
        fault("folder to back up", {backing(Own)}, "backup/folder"_s, entry("install/backup"));
        ShelvedVersion beside = backing("Output/preferences/a.prf"_s);
        beside.remove += Own + "/64"_s;
        beside.remove += "Output/preferences/a.prf/b"_s;
        row("removals beside a backup that is not brought", {beside},
            {"backup/not-shipped "_s + entry("install/backup"),
             "remove/names-nothing "_s + entry("uninstall/remove", 0, 2)});
        fault("backup of what is not brought", {backing("lights.txt"_s)}, "backup/not-shipped"_s,
              entry("install/backup"));

        ShelvedVersion missing = numbered(version(QByteArray()), "0.9"_s);
        missing.remove += "Resources/plugins/Old"_s;
        fault("what is missing may have brought it",
              {removing({Own, "Resources/plugins/Old"_s}), missing}, "archive/missing"_s,
              "/0/versions/1/link"_s);
        ShelvedVersion outside = version(good());
        outside.extract = "../outside"_s;
        outside.remove += "Resources/plugins/Old"_s;
        row("unpacked outside", {outside});
        ShelvedVersion below = version(good());
        below.extract = "Elsewhere"_s;
        below.remove += "Elsewhere"_s;
        fault("paths begin where the archive is unpacked", {below}, "remove/names-nothing"_s,
              entry("uninstall/remove"));
    }

    void rulesAreComparedWithArchives() { compare(); }

    void filesOfTwoPackagesAreFound_data()
    {
        m_rows.emplace();
        const auto other = [](const QString &number) {
            return numbered(version(zipOf({{Plugin, "other code"}, {Own + "/other.txt"_s, "x"}})),
                            number, 6);
        };
        const ShelvedVersion free =
            numbered(version(zipOf({{Own + "/free.txt"_s, "x"}})), "2.0"_s, 6);
        const QString shared = "archive/shared-file "_s;
        const QString older = "archive/shared-with-older "_s;
        row("newest versions", {version(good()), other("1.0"_s)}, {shared + link(1)});
        row("older version of the second", {version(good()), free, other("1.0"_s)},
            {older + link(1, 1)});
        row("older version of the first", {other("1.0"_s), free, version(good())},
            {older + link(1)});
        row("newest and older versions", {version(good()), other("2.0"_s), other("1.0"_s)},
            {shared + link(1)});
        row("one that shares nothing behind",
            {version(good()), free, other("1.0"_s),
             numbered(version(zipOf({{Own + "/lonely"_s, "x"}})), "1.0"_s, 7)},
            {older + link(1, 1)});
        row("folders may be shared", {version(good()), free});
        ShelvedVersion third = other("1.0"_s);
        third.package = 7;
        // Each file is reported for only one of the other packages that have it.
        row("three packages", {version(good()), other("1.0"_s), third},
            {shared + link(1), shared + link(2), shared + link(2)});
        ShelvedVersion same = numbered(version(QByteArray()), "1.0"_s, 6);
        same.keys = {{"link"_s, "https://addons.example.org/files/package-5-1.0.zip"_s}};
        row("one archive", {version(good()), same}, {shared + link(1)});
    }

    void filesOfTwoPackagesAreFound() { compare(); }

    void archivesAreFoundAsClientsNameThem_data()
    {
        m_rows.emplace();
        const auto at = [](const QString &path, const QString &address, const QByteArray &archive) {
            ShelvedVersion shelved = version(archive);
            shelved.path = path;
            shelved.keys = {{"link"_s, address}};
            return shelved;
        };
        const QString server = "https://addons.example.org"_s;
        row("name without the question",
            {at("a b.zip"_s, server + "/x/a%20b.zip?c=d.zip#e"_s, good())});
        row("folders of the address", {at("x/y/a.zip"_s, server + "/x/y/a.zip"_s, good())});
        row("the folders go before the name",
            {at("x/a.zip"_s, server + "/x/a.zip"_s, good()),
             numbered(at("a.zip"_s, server + "/y/a.zip"_s, ""), "0.9"_s)},
            {"archive/unreadable "_s + link(0, 1)});
        row("one file for two addresses",
            {at("a.zip"_s, server + "/x/a.zip"_s, good()),
             numbered(at("a.zip"_s, server + "/y/a.zip"_s, good()), "0.9"_s)},
            {"archive/ambiguous "_s + link(0, 1)});
        row("one address twice", {at("a.zip"_s, server + "/x/a.zip"_s, good()),
                                  numbered(at("a.zip"_s, server + "/x/a.zip"_s, good()), "0.9"_s)});
        row("missing twice is told once",
            {at(QString(), server + "/x/a.zip"_s, QByteArray()),
             numbered(at(QString(), server + "/x/a.zip"_s, QByteArray()), "0.9"_s)},
            {"archive/missing "_s + link()});
        row("outside of the folder",
            {at("../a.zip"_s, server + "/../a.zip"_s, good()),
             numbered(at(QString(), server + "/%2e%2e/a.zip"_s, QByteArray()), "0.9"_s)},
            {"archive/missing "_s + link(), "archive/missing "_s + link(0, 1)});
        row("folder of that name", {at("a.zip/b"_s, server + "/a.zip"_s, good())},
            {"archive/missing "_s + link()});
        row("no address", {at("a.zip"_s, QString(), good()),
                           numbered(at("a.zip"_s, server + "/x/"_s, good()), "0.9"_s)});
    }

    void archivesAreFoundAsClientsNameThem() { compare(); }

    /// The rows above have broken every rule about archives except that about unpacked sizes. The
    /// rules about updates have their own test.
    void everyRuleIsBroken()
    {
        for (const RuleText &rule : allRules()) {
            const bool isLookedFor = rule.rule >= Rule::ARCHIVE_MISSING &&
                                     rule.rule < Rule::UPDATE_LEFT_OVER &&
                                     rule.rule != Rule::ARCHIVE_UNPACKED_SIZE;
            QVERIFY2(!isLookedFor || m_broken.contains(QString::fromLatin1(rule.name)), rule.name);
        }
    }

    void sizeIsThatOfAllFiles()
    {
        const ArchiveShelf shelf({version(zipOf({{Readme, QByteArray(1000, 'a')},
                                                 {Plugin, QByteArray(536, 'b')},
                                                 {Own + "/empty/"_s, ""}})),
                                  numbered(version(zipOf({{Readme, "x"}})), "2.0"_s),
                                  numbered(version(zipOf({})), "3.0"_s)});
        QStringList sizes;
        const CheckReport report = checked(shelf);
        for (const Finding &finding : report.findings()) {
            if (finding.rule == Rule::ARCHIVE_UNPACKED_SIZE)
                sizes.append(finding.pointer + QLatin1Char(' ') + finding.message);
        }
        QCOMPARE(sizes, QStringList({link() + " Unpacked it is 1.50 KB in 2 files."_s,
                                     link(0, 1) + " Unpacked it is 1.00 Bytes in 1 file."_s}));
    }

    void filesThatNoEntryRemovesAreCounted()
    {
        ShelvedVersion shelved = version(zipOf({{Readme, "a"}, {"a"_s, "a"}, {"b/c"_s, "c"}}));
        const ArchiveShelf shelf({shelved});
        const CheckReport report = checked(shelf);
        QVERIFY(report.has(Rule::ARCHIVE_LEFT_BEHIND));
        for (const Finding &finding : report.findings()) {
            if (finding.rule == Rule::ARCHIVE_LEFT_BEHIND)
                QCOMPARE(finding.message, "No entry removes \"a\" and 1 more."_s);
        }
    }

    /// A script in the place of 7-Zip records each run and starts the real program.
    void sharedArchiveIsReadOnce()
    {
        const QTemporaryDir scratch;
        const QString program = scratch.filePath("7z"_s);
        const QString runs = scratch.filePath("runs"_s);
        QVERIFY(writeFile(program, "#!/bin/sh\necho run >> '" + runs.toUtf8() +
                                       "'\nexec /usr/bin/7z \"$@\"\n"));
        QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
        ShelvedVersion same = numbered(version(QByteArray()), "2.0"_s);
        same.keys = {{"link"_s, "https://addons.example.org/files/package-5-1.0.zip"_s}};
        ShelvedVersion other = numbered(same, "1.0"_s, 6);
        other.extract = "Elsewhere"_s;
        other.remove = QStringList{"Elsewhere"_s};
        const ArchiveShelf shelf({version(good()), same, other});
        const ArchiveFolder folder(shelf.folder());
        const CheckReport report = checkCatalogue(
            shelf.catalogue(),
            [&](const QByteArray &document, const CatalogueView &catalogue, Findings &findings) {
                ArchiveCheck(document, folder, program, findings).check(catalogue);
            });
        QCOMPARE(archiveFindings(report), QStringList());
        QCOMPARE(readFile(runs), QByteArray("run\n"));
    }

    /// Reading the pipe would block for ever.
    void specialFilesDoNotBlockTheCheck()
    {
        const ArchiveShelf shelf({version(QByteArray())});
        const QString pipe = shelf.folder() + QLatin1Char('/') + version(QByteArray()).fileName();
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QCOMPARE(archiveFindings(checked(shelf)), QStringList{"archive/missing "_s + link()});
    }

    void manyEntriesAreCheckedInTime_data()
    {
        Rows<int, QByteArray>()
            .row("in one folder", 60'000, "name-%1.txt")
            .row("each in folders of its own", 15'000,
                 QByteArray("%1/") + QByteArray("a/").repeated(35) + "x")
            .row("names that differ in case only", 60'000, "%2");
    }

    /// An algorithm of quadratic complexity would take minutes.
    void manyEntriesAreCheckedInTime()
    {
        const auto [count, name] = Rows<int, QByteArray>::current();
        QVector<TarEntry> entries;
        for (int number = 0; number < count; ++number) {
            QByteArray cases;
            for (int bit = 0; bit < 16; ++bit)
                cases += (number >> bit) % 2 == 0 ? 'a' : 'A';
            entries.append(
                {TarEntry::FILE,
                 QByteArray(name).replace("%1", QByteArray::number(number)).replace("%2", cases),
                 ""});
        }
        ShelvedVersion many = tar(entries);
        many.extract = Own;
        QStringList removals;
        for (int number = 0; number < 2000; ++number)
            removals.append(Own + "/name-%1.txt"_s.arg(number));
        many.remove = removals;
        many.backup = removals;
        ShelvedVersion again = numbered(many, "1.0"_s, 6);
        const ArchiveShelf shelf({many, again});
        QElapsedTimer timer;
        timer.start();
        const CheckReport report = checked(shelf);
        QVERIFY(report.has(Rule::ARCHIVE_SHARED_FILE));
        QVERIFY2(timer.elapsed() < 60'000, qPrintable(QString::number(timer.elapsed())));
    }

    void nothingIsWritten()
    {
        const ScratchProfile profile;
        ShelvedVersion told = version(good());
        told.keys = {{"sha256"_s, QString(64, QLatin1Char('0'))}};
        const ArchiveShelf shelf({told, numbered(tar({{TarEntry::LINK, "a", "b"}}), "2.0"_s),
                                  numbered(version(compressed("x", "xz"_s), "xz"_s), "3.0"_s)});
        const auto archives = fileTree(shelf.folder());
        const auto home = fileTree(profile.home());
        const auto working = fileTree(profile.folder("working"_s));
        const ToolRun run({"check"_s, shelf.catalogueFile(), "--archives"_s, shelf.folder()},
                          profile.folder("working"_s));
        QCOMPARE(run.status(), ERRORS);
        QCOMPARE(run.complaints(), QByteArray());
        QVERIFY(run.output().contains("archive/checksum-differs"));
        QCOMPARE(fileTree(shelf.folder()), archives);
        QCOMPARE(fileTree(profile.home()), home);
        QCOMPARE(fileTree(profile.folder("working"_s)), working);
        QCOMPARE(readFile(shelf.catalogueFile()), shelf.catalogue());
    }

private:
    using FindingRows = Rows<Versions, QStringList>;

    void row(const RowText &name, const Versions &versions, const QStringList &findings = {})
    {
        const QString &text = name;
        m_rows->row(text.toUtf8(), versions, findings);
    }
    /// Adds a row with one finding, at the link of the first version or at `pointer`.
    void fault(const RowText &name, const ShelvedVersion &shelved, const QString &rule)
    {
        fault(name, {shelved}, rule, link());
    }
    void fault(const RowText &name, const Versions &versions, const QString &rule,
               const QString &pointer)
    {
        row(name, versions, {QString(rule + QLatin1Char(' ') + pointer)});
    }

    /// Compares the findings of the current row, and records the broken rules.
    void compare()
    {
        const auto [versions, findings] = FindingRows::current();
        const ArchiveShelf shelf(versions);
        const QStringList found = archiveFindings(checked(shelf));
        for (const QString &finding : found)
            m_broken.insert(finding.section(QLatin1Char(' '), 0, 0));
        QCOMPARE(found, findings);
    }

    std::optional<FindingRows> m_rows; ///< of the current data function
    QSet<QString> m_broken;
};

KAVO_TEST_MAIN(ArchiveCheckTest)
#include "ArchiveCheckTest.moc"

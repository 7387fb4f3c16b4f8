#include "core/ArchiveReader.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

using namespace Kavo::Extractors;
using namespace Kavo::Testing;
using Kind = ArchiveEntry::Kind;
using Outcome = ArchiveReader::Outcome;

/// Tests reading real archives with the real 7-Zip.
class ArchiveReaderTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_profile.reset(new ScratchProfile); }
    void cleanup() { m_profile.reset(); }

    void filesAndFoldersAreListed_data();
    void filesAndFoldersAreListed();
    void targetsOfLinksAreKnown_data() { filesAndFoldersAreListed_data(); }
    void targetsOfLinksAreKnown();
    void namesOfLinksAreNoPatterns();
    void streamIsReadToItsEnd_data();
    void streamIsReadToItsEnd();
    void emptyArchiveIsListed();
    void passwordShows_data();
    void passwordShows();
    void whatIsNoArchiveIsUnreadable();
    void patternIsNoArchive();
    void missingProgramIsNotRun();
    void nothingIsUnpackedOrLogged();

private:
    QString path(const QString &name) const { return m_profile->folder(QString()) + name; }
    /// Runs 7-Zip to create an archive of a folder with links.
    bool makeArchiveOfLinks(const QString &archive) const;
    static Outcome list(const QString &archive, ArchiveListing *listing = nullptr);

    QScopedPointer<ScratchProfile> m_profile;
};

const QString Program = "/usr/bin/7z"_s;

ArchiveReader::Outcome ArchiveReaderTest::list(const QString &archive, ArchiveListing *listing)
{
    ArchiveReader reader(Program, archive);
    const Outcome outcome = reader.list();
    if (listing)
        *listing = reader.listing();
    return outcome;
}

bool ArchiveReaderTest::makeArchiveOfLinks(const QString &archive) const
{
    const QString folder = m_profile->folder("links"_s);
    writeFiles(folder, {{"a/file.txt"_s, "x"}, {"b/"_s, ""}});
    QFile::link("../../etc"_s, folder + "b/out"_s);
    QFile::link("file.txt"_s, folder + "a/in"_s);
    QFile::link("/tmp/\xc3\xa4 b"_s, folder + "a/st*r"_s);
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(Program, {"a"_s, "-snl"_s, archive, "a"_s, "b"_s});
    return process.waitForFinished(-1) && process.exitCode() == 0;
}

void ArchiveReaderTest::filesAndFoldersAreListed_data()
{
    Rows<QString> rows;
    for (const char *format : {"7z", "zip", "tar", "wim"})
        rows.row(format, format);
}

void ArchiveReaderTest::filesAndFoldersAreListed()
{
    const auto [format] = Rows<QString>::current();
    const QString archive = path("an archive."_s + format);
    const QString name = "folder/\xc3\x84rger =.txt"_s;
    QVERIFY(makeArchive(archive, {{name, "content"}, {"empty/"_s, ""}}));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QVERIFY(!listing.isStream);
    QMap<QString, ArchiveEntry> entries;
    for (const ArchiveEntry &entry : listing.entries)
        entries.insert(QDir::cleanPath(entry.path), entry);
    QVERIFY(entries.value(name).kind == Kind::FILE);
    QCOMPARE(entries.value(name).size, 7LL);
    QVERIFY(entries.value("empty"_s).kind == Kind::FOLDER);
}

void ArchiveReaderTest::targetsOfLinksAreKnown()
{
    const auto [format] = Rows<QString>::current();
    const QString archive = path("links."_s + format);
    QVERIFY(makeArchiveOfLinks(archive));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QMap<QString, QString> targets;
    for (const ArchiveEntry &entry : qAsConst(listing.entries)) {
        if (entry.kind == Kind::SYMBOLIC_LINK)
            targets.insert(entry.path, entry.target);
    }
    const QMap<QString, QString> expected{
        {"a/in"_s, "file.txt"_s}, {"a/st*r"_s, "/tmp/\xc3\xa4 b"_s}, {"b/out"_s, "../../etc"_s}};
    QCOMPARE(targets, expected);
}

void ArchiveReaderTest::namesOfLinksAreNoPatterns()
{
    const QString folder = m_profile->folder("links"_s);
    QVERIFY(writeFile(folder + "abc"_s, "much longer than any target"));
    QVERIFY(QFile::link("abc"_s, folder + "a*"_s));
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(Program, {"a"_s, "-snl"_s, path("x.zip"_s), "."_s});
    QVERIFY(process.waitForFinished(-1));
    ArchiveListing listing;
    QVERIFY(list(path("x.zip"_s), &listing) == Outcome::LISTED);
    const auto link =
        std::find_if(listing.entries.cbegin(), listing.entries.cend(),
                     [](const ArchiveEntry &entry) { return entry.kind == Kind::SYMBOLIC_LINK; });
    QVERIFY(link != listing.entries.cend());
    QCOMPARE(link->target, "abc"_s);
}

void ArchiveReaderTest::streamIsReadToItsEnd_data()
{
    Rows<QString> rows;
    for (const char *format : {"gz", "bz2", "xz"})
        rows.row(format, format);
}

void ArchiveReaderTest::streamIsReadToItsEnd()
{
    const auto [format] = Rows<QString>::current();
    const QByteArray whole = compressed(QByteArray(300000, 'x') + "end", format);
    const QString archive = path("stream"_s);
    QVERIFY(writeFile(archive, whole));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QVERIFY(listing.isStream);
    QCOMPARE(listing.entries.size(), 1);
    QCOMPARE(listing.entries.first().size, 300003LL);
    QVERIFY(writeFile(archive, whole.chopped(3)));
    QVERIFY(list(archive, &listing) == Outcome::UNREADABLE);
    QVERIFY(listing.entries.isEmpty());
}

void ArchiveReaderTest::emptyArchiveIsListed()
{
    const QString archive = path("empty.zip"_s);
    QVERIFY(writeFile(archive, QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0')));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QVERIFY(listing.entries.isEmpty());
}

void ArchiveReaderTest::passwordShows_data()
{
    Rows<QString, QStringList>()
        .row("zip", "zip", {})
        .row("7z", "7z", {})
        .row("7z, its list too", "7z", {"-mhe=on"_s});
}

void ArchiveReaderTest::passwordShows()
{
    const auto [format, switches] = Rows<QString, QStringList>::current();
    QVERIFY(writeFile(path("file"_s), "secret"));
    const QString archive = path("locked."_s + format);
    QCOMPARE(QProcess::execute(
                 Program,
                 QStringList{"a"_s, "-bso0"_s, "-ppassword"_s, archive, path("file"_s)} + switches),
             0);
    QVERIFY(list(archive) == Outcome::ENCRYPTED);
}

void ArchiveReaderTest::whatIsNoArchiveIsUnreadable()
{
    QVERIFY(writeFile(path("page.html"_s), "<html>Sorry</html>"));
    QVERIFY(list(path("page.html"_s)) == Outcome::UNREADABLE);
    QVERIFY(list(path("missing.zip"_s)) == Outcome::UNREADABLE);
    QVERIFY(list(m_profile->folder("folder"_s)) == Outcome::UNREADABLE);
}

void ArchiveReaderTest::patternIsNoArchive()
{
    QVERIFY(makeArchive(path("abc.zip"_s), {{"a"_s, "x"}}));
    QVERIFY(list(path("*.zip"_s)) == Outcome::UNREADABLE);
    QVERIFY(list(path("ab?.zip"_s)) == Outcome::UNREADABLE);
}

void ArchiveReaderTest::missingProgramIsNotRun()
{
    QVERIFY(makeArchive(path("a.zip"_s), {{"a"_s, "x"}}));
    ArchiveReader missing("/no/such/7z"_s, path("a.zip"_s));
    QVERIFY(missing.list() == Outcome::NOT_RUN);
    const QString program = path("7z"_s);
    QVERIFY(writeFile(program, "#!/bin/sh\nkill -9 $$\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    ArchiveReader killed(program, path("a.zip"_s));
    QVERIFY(killed.list() == Outcome::NOT_RUN);
}

void ArchiveReaderTest::nothingIsUnpackedOrLogged()
{
    const QString archive = path("links.zip"_s);
    QVERIFY(makeArchiveOfLinks(archive));
    const auto before = fileTree(m_profile->folder(QString()));
    const LogCapture log;
    QVERIFY(list(archive) == Outcome::LISTED);
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(fileTree(m_profile->folder(QString())), before);
}

KAVO_TEST_MAIN(ArchiveReaderTest)
#include "ArchiveReaderTest.moc"

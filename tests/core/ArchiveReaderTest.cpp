#include "core/ArchiveReader.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
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

/// The real 7-Zip looks at real archives.
class ArchiveReaderTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void filesAndFoldersAreListed_data();
    void filesAndFoldersAreListed();
    void targetsOfLinksAreKnown_data();
    void targetsOfLinksAreKnown();
    void namesOfLinksAreNoPatterns();
    void streamIsReadToItsEnd_data();
    void streamIsReadToItsEnd();
    void emptyArchiveIsOne();
    void passwordShows_data();
    void passwordShows();
    void whatIsNoArchiveIsUnreadable();
    void patternIsNoArchive();
    void missingProgramIsNotRun();
    void nothingIsUnpackedOrLogged();

private:
    QString path(const QString &name) const { return m_profile->folder(QString()) + name; }
    /// Has 7-Zip put a folder with links of its own into an archive.
    bool makeArchiveOfLinks(const QString &archive) const;
    static Outcome list(const QString &archive, ArchiveListing *listing = nullptr);

    QScopedPointer<ScratchProfile> m_profile;
};

const QString Program = QStringLiteral("/usr/bin/7z");

void ArchiveReaderTest::init()
{
    m_profile.reset(new ScratchProfile);
}

void ArchiveReaderTest::cleanup()
{
    m_profile.reset();
}

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
    const QString folder = m_profile->folder(QStringLiteral("links"));
    writeFiles(folder, {{QStringLiteral("a/file.txt"), "x"}, {QStringLiteral("b/"), ""}});
    QFile::link(QStringLiteral("../../etc"), folder + QStringLiteral("b/out"));
    QFile::link(QStringLiteral("file.txt"), folder + QStringLiteral("a/in"));
    QFile::link(QString::fromUtf8("/tmp/\xc3\xa4 b"), folder + QStringLiteral("a/st*r"));
    QProcess process;
    process.setWorkingDirectory(folder);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(Program, {QStringLiteral("a"), QStringLiteral("-snl"), archive,
                            QStringLiteral("a"), QStringLiteral("b")});
    return process.waitForFinished(-1) && process.exitCode() == 0;
}

void ArchiveReaderTest::filesAndFoldersAreListed_data()
{
    QTest::addColumn<QString>("format");
    for (const char *format : {"7z", "zip", "tar", "wim"})
        QTest::newRow(format) << QString::fromLatin1(format);
}

void ArchiveReaderTest::filesAndFoldersAreListed()
{
    QFETCH(QString, format);
    const QString archive = path(QStringLiteral("an archive.") + format);
    const QString name = QString::fromUtf8("folder/\xc3\x84rger =.txt");
    QVERIFY(makeArchive(archive, {{name, "content"}, {QStringLiteral("empty/"), ""}}));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QVERIFY(!listing.isStream);
    QMap<QString, ArchiveEntry> entries;
    for (const ArchiveEntry &entry : listing.entries)
        entries.insert(QDir::cleanPath(entry.path), entry);
    QVERIFY(entries.value(name).kind == Kind::FILE);
    QCOMPARE(entries.value(name).size, 7LL);
    QVERIFY(entries.value(QStringLiteral("empty")).kind == Kind::FOLDER);
}

void ArchiveReaderTest::targetsOfLinksAreKnown_data()
{
    filesAndFoldersAreListed_data();
}

void ArchiveReaderTest::targetsOfLinksAreKnown()
{
    QFETCH(QString, format);
    const QString archive = path(QStringLiteral("links.") + format);
    QVERIFY(makeArchiveOfLinks(archive));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QMap<QString, QString> targets;
    for (const ArchiveEntry &entry : qAsConst(listing.entries)) {
        if (entry.kind == Kind::SYMBOLIC_LINK)
            targets.insert(entry.path, entry.target);
    }
    const QMap<QString, QString> expected{
        {QStringLiteral("a/in"), QStringLiteral("file.txt")},
        {QStringLiteral("a/st*r"), QString::fromUtf8("/tmp/\xc3\xa4 b")},
        {QStringLiteral("b/out"), QStringLiteral("../../etc")}};
    QCOMPARE(targets, expected);
}

void ArchiveReaderTest::namesOfLinksAreNoPatterns()
{
    const QString folder = m_profile->folder(QStringLiteral("links"));
    QVERIFY(writeFile(folder + QStringLiteral("abc"), "much longer than any target"));
    QVERIFY(QFile::link(QStringLiteral("abc"), folder + QStringLiteral("a*")));
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(Program, {QStringLiteral("a"), QStringLiteral("-snl"),
                            path(QStringLiteral("x.zip")), QStringLiteral(".")});
    QVERIFY(process.waitForFinished(-1));
    ArchiveListing listing;
    QVERIFY(list(path(QStringLiteral("x.zip")), &listing) == Outcome::LISTED);
    const auto link =
        std::find_if(listing.entries.cbegin(), listing.entries.cend(),
                     [](const ArchiveEntry &entry) { return entry.kind == Kind::SYMBOLIC_LINK; });
    QVERIFY(link != listing.entries.cend());
    QCOMPARE(link->target, QStringLiteral("abc"));
}

void ArchiveReaderTest::streamIsReadToItsEnd_data()
{
    QTest::addColumn<QString>("format");
    for (const char *format : {"gz", "bz2", "xz"})
        QTest::newRow(format) << QString::fromLatin1(format);
}

void ArchiveReaderTest::streamIsReadToItsEnd()
{
    QFETCH(QString, format);
    const QByteArray whole = compressed(QByteArray(300000, 'x') + "end", format);
    const QString archive = path(QStringLiteral("stream"));
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

void ArchiveReaderTest::emptyArchiveIsOne()
{
    const QString archive = path(QStringLiteral("empty.zip"));
    QVERIFY(writeFile(archive, QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0')));
    ArchiveListing listing;
    QVERIFY(list(archive, &listing) == Outcome::LISTED);
    QVERIFY(listing.entries.isEmpty());
}

void ArchiveReaderTest::passwordShows_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QStringList>("switches");
    QTest::newRow("zip") << QStringLiteral("zip") << QStringList();
    QTest::newRow("7z") << QStringLiteral("7z") << QStringList();
    QTest::newRow("7z, its list too")
        << QStringLiteral("7z") << QStringList(QStringLiteral("-mhe=on"));
}

void ArchiveReaderTest::passwordShows()
{
    QFETCH(QString, format);
    QFETCH(QStringList, switches);
    QVERIFY(writeFile(path(QStringLiteral("file")), "secret"));
    const QString archive = path(QStringLiteral("locked.") + format);
    QCOMPARE(QProcess::execute(Program, QStringList{QStringLiteral("a"), QStringLiteral("-bso0"),
                                                    QStringLiteral("-ppassword"), archive,
                                                    path(QStringLiteral("file"))} +
                                            switches),
             0);
    QVERIFY(list(archive) == Outcome::ENCRYPTED);
}

void ArchiveReaderTest::whatIsNoArchiveIsUnreadable()
{
    QVERIFY(writeFile(path(QStringLiteral("page.html")), "<html>Sorry</html>"));
    QVERIFY(list(path(QStringLiteral("page.html"))) == Outcome::UNREADABLE);
    QVERIFY(list(path(QStringLiteral("missing.zip"))) == Outcome::UNREADABLE);
    QVERIFY(list(m_profile->folder(QStringLiteral("folder"))) == Outcome::UNREADABLE);
}

void ArchiveReaderTest::patternIsNoArchive()
{
    QVERIFY(makeArchive(path(QStringLiteral("abc.zip")), {{QStringLiteral("a"), "x"}}));
    QVERIFY(list(path(QStringLiteral("*.zip"))) == Outcome::UNREADABLE);
    QVERIFY(list(path(QStringLiteral("ab?.zip"))) == Outcome::UNREADABLE);
}

void ArchiveReaderTest::missingProgramIsNotRun()
{
    QVERIFY(makeArchive(path(QStringLiteral("a.zip")), {{QStringLiteral("a"), "x"}}));
    ArchiveReader missing(QStringLiteral("/no/such/7z"), path(QStringLiteral("a.zip")));
    QVERIFY(missing.list() == Outcome::NOT_RUN);
    const QString program = path(QStringLiteral("7z"));
    QVERIFY(writeFile(program, "#!/bin/sh\nkill -9 $$\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner));
    ArchiveReader killed(program, path(QStringLiteral("a.zip")));
    QVERIFY(killed.list() == Outcome::NOT_RUN);
}

void ArchiveReaderTest::nothingIsUnpackedOrLogged()
{
    const QString archive = path(QStringLiteral("links.zip"));
    QVERIFY(makeArchiveOfLinks(archive));
    const auto before = fileTree(m_profile->folder(QString()));
    const LogCapture log;
    QVERIFY(list(archive) == Outcome::LISTED);
    QCOMPARE(log.lines(), QStringList());
    QCOMPARE(fileTree(m_profile->folder(QString())), before);
}

KAVO_TEST_MAIN(ArchiveReaderTest)
#include "ArchiveReaderTest.moc"

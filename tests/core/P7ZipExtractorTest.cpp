#include "core/P7ZipExtractor.h"
#include "core/Paths.h"
#include "tests/support/Archives.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestMain.h"

#include <QThread>

using Kavo::Extractors::P7ZipExtractor;
using namespace Kavo::Testing;

class P7ZipExtractorTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void signalsComeInTheirOrder();
    void archivesAreUnpacked_data();
    void archivesAreUnpacked();
    void oneObjectUnpacksOneAfterAnother();
    void worksOnAnotherThread();
    void callIsLogged();
    void exactlyThreeArguments();
    void relativeArchiveIsMadeAbsolute();
    void runsInTheExecutablesFolder();
    void existingFilesAreReplaced();
    void destinationIsMade();

    void missingProgramFails();
    void programThatCannotStartFails();
    void exitCodesFail_data();
    void exitCodesFail();
    void errorTextIsLogged();
    void killedProgramFails();
    void missingArchiveFails();
    void folderIsNoArchive();
    void asteriskInTheDestinationFails();
    void wildcardInTheArchiveFails_data();
    void wildcardInTheArchiveFails();
    void damagedArchiveFails_data();
    void damagedArchiveFails();
    void encryptedArchiveFailsWithoutAsking();

    void answerAndEndOfInputReachTheProgram();
    void programHasASessionOfItsOwn();
    void programThatClosesItsInputIsFine();
    void muchOutputDoesNotBlock();

    void archiveCannotReachOutside_data();
    void archiveCannotReachOutside();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString standIn(const QByteArray &script) const;
    static int reported(const LogCapture &log);

    QScopedPointer<QTemporaryDir> m_folder;
};

void P7ZipExtractorTest::initTestCase()
{
    QVERIFY2(QFile::exists(QStringLiteral("/usr/bin/7z")), "These tests run the real 7-Zip");
}

void P7ZipExtractorTest::init()
{
    m_folder.reset(new QTemporaryDir);
}

void P7ZipExtractorTest::cleanup()
{
    m_folder.reset();
}

/// A program that takes the place of 7-Zip.
QString P7ZipExtractorTest::standIn(const QByteArray &script) const
{
    const QString program = path(QStringLiteral("stand-in"));
    if (!writeFile(program, "#!/bin/sh\n" + script))
        return QString();
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return program;
}

/// Number of lines that tell of a failure.
int P7ZipExtractorTest::reported(const LogCapture &log)
{
    return log.count(QStringLiteral("Extractor Error : "));
}

// Fixed, see docs/compatibility.md.
void P7ZipExtractorTest::signalsComeInTheirOrder()
{
    const QMetaObject &meta = P7ZipExtractor::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    QCOMPARE(meta.method(meta.methodOffset()).methodSignature(), QByteArray("finished()"));
    QCOMPARE(meta.method(meta.methodOffset() + 1).methodSignature(), QByteArray("error()"));
}

void P7ZipExtractorTest::archivesAreUnpacked_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("7z") << QStringLiteral("a.7z");
    QTest::newRow("zip") << QStringLiteral("a.zip");
    QTest::newRow("tar") << QStringLiteral("a.tar");
    QTest::newRow("name with blanks") << QString::fromUtf8("an archive \u2708.7z");
}

void P7ZipExtractorTest::archivesAreUnpacked()
{
    QFETCH(QString, name);
    const Files files{{QStringLiteral("readme.txt"), "read me"},
                      {QStringLiteral("plugins/a b/lin.xpl"), QByteArray(100000, 'x')},
                      {QString::fromUtf8("Custom/\u00fc.txt"), ""},
                      {QStringLiteral("empty/"), ""}};
    QVERIFY(makeArchive(path(name), files));
    P7ZipExtractor extractor;
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(extractor.extract(path(name), path(QStringLiteral("out"))));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(error.count(), 0);
    QCOMPARE(reported(log), 0);
    QCOMPARE(fileTree(path(QStringLiteral("out"))), expectedTree(files));
}

void P7ZipExtractorTest::oneObjectUnpacksOneAfterAnother()
{
    const QString good = path(QStringLiteral("good.7z"));
    const QString bad = path(QStringLiteral("bad.7z"));
    QVERIFY(makeArchive(good, {{QStringLiteral("a"), "1"}}) && writeFile(bad, "no archive"));
    P7ZipExtractor extractor;
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    QVERIFY(extractor.extract(good, path(QStringLiteral("1"))));
    QVERIFY(!extractor.extract(bad, path(QStringLiteral("2"))));
    QVERIFY(extractor.extract(good, path(QStringLiteral("3"))));
    QCOMPARE(finished.count(), 2);
    QCOMPARE(error.count(), 1);
    QCOMPARE(readFile(path(QStringLiteral("3/a"))), QByteArray("1"));
}

void P7ZipExtractorTest::worksOnAnotherThread()
{
    const QString archive = path(QStringLiteral("a.7z"));
    QVERIFY(makeArchive(archive, {{QStringLiteral("a"), "1"}}));
    bool unpacked = false;
    const QScopedPointer<QThread> thread(QThread::create([&unpacked, &archive, this] {
        unpacked = P7ZipExtractor().extract(archive, path(QStringLiteral("out")));
    }));
    thread->start();
    QVERIFY(thread->wait());
    QVERIFY(unpacked);
    QCOMPARE(readFile(path(QStringLiteral("out/a"))), QByteArray("1"));
}

// Fixed, see docs/compatibility.md.
void P7ZipExtractorTest::callIsLogged()
{
    const QString archive = path(QStringLiteral("a.7z"));
    const QString target = path(QStringLiteral("out/"));
    QVERIFY(makeArchive(archive, {{QStringLiteral("a"), "1"}}));
    const LogCapture log;
    QVERIFY(P7ZipExtractor().extract(archive, target));
    QCOMPARE(log.lines(), QStringList(QStringLiteral("Extract paramenter : /usr/bin/7z "
                                                     "(\"x\", \"%1\", \"-o%2\")")
                                          .arg(archive, target)));
}

// Fixed, see docs/compatibility.md.
void P7ZipExtractorTest::exactlyThreeArguments()
{
    const QString program = standIn("printf '%s\\n' \"$#\" \"$@\" > \"${0%/*}/arguments\"\n");
    const QString archive = path(QStringLiteral("an archive.7z"));
    QVERIFY(P7ZipExtractor(program).extract(archive, path(QStringLiteral("a place/x "))));
    QCOMPARE(QString::fromUtf8(readFile(path(QStringLiteral("arguments")))),
             QStringLiteral("3\nx\n%1\n-o%2\n").arg(archive, path(QStringLiteral("a place/x "))));
}

void P7ZipExtractorTest::relativeArchiveIsMadeAbsolute()
{
    // The program runs in another folder, where the relative name means nothing.
    QVERIFY(makeArchive(path(QStringLiteral("a.7z")), {{QStringLiteral("a"), "1"}}));
    const QString before = QDir::currentPath();
    QDir::setCurrent(m_folder->path());
    const bool unpacked =
        P7ZipExtractor().extract(QStringLiteral("a.7z"), path(QStringLiteral("out")));
    QDir::setCurrent(before);
    QVERIFY(unpacked);
    QCOMPARE(readFile(path(QStringLiteral("out/a"))), QByteArray("1"));
}

void P7ZipExtractorTest::runsInTheExecutablesFolder()
{
    const QString program = standIn("pwd > \"${0%/*}/where\"\n");
    QVERIFY(P7ZipExtractor(program).extract(QStringLiteral("a"), QStringLiteral("b")));
    QCOMPARE(QDir(QString::fromUtf8(readFile(path(QStringLiteral("where"))).trimmed())),
             QDir(Kavo::applicationDirectory()));
}

void P7ZipExtractorTest::existingFilesAreReplaced()
{
    const Files files{{QStringLiteral("a"), "new a"}, {QStringLiteral("sub/b"), "new b"}};
    const QString target = path(QStringLiteral("out"));
    QVERIFY(makeArchive(path(QStringLiteral("a.7z")), files));
    QVERIFY(writeFiles(target, {{QStringLiteral("a"), "a longer old a"},
                                {QStringLiteral("sub/b"), "old b"},
                                {QStringLiteral("sub/other"), "stays"}}));
    QVERIFY(P7ZipExtractor().extract(path(QStringLiteral("a.7z")), target));
    Files all = files;
    all.insert(QStringLiteral("sub/other"), "stays");
    QCOMPARE(fileTree(target), expectedTree(all));
}

void P7ZipExtractorTest::destinationIsMade()
{
    QVERIFY(makeArchive(path(QStringLiteral("a.7z")), {{QStringLiteral("a"), "1"}}));
    const QString target = path(QStringLiteral("deep/with blanks/in it/"));
    QVERIFY(P7ZipExtractor().extract(path(QStringLiteral("a.7z")), target));
    QCOMPARE(readFile(target + QLatin1Char('a')), QByteArray("1"));
}

void P7ZipExtractorTest::missingProgramFails()
{
    P7ZipExtractor extractor(path(QStringLiteral("missing")));
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(!extractor.extract(QStringLiteral("/a"), QStringLiteral("/b")));
    QCOMPARE(finished.count(), 0);
    QCOMPARE(error.count(), 1);
    QCOMPARE(log.lines().filter(QRegularExpression(QStringLiteral("^Extract"))),
             QStringList({QStringLiteral("Extract paramenter :  (\"x\", \"/a\", \"-o/b\")"),
                          QStringLiteral("Extractor Error : "),
                          QStringLiteral("Extractor Error : 255")}));
}

void P7ZipExtractorTest::programThatCannotStartFails()
{
    const QString program = path(QStringLiteral("text"));
    QVERIFY(writeFile(program, "not executable"));
    P7ZipExtractor extractor(program);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(!extractor.extract(QStringLiteral("/a"), QStringLiteral("/b")));
    QCOMPARE(error.count(), 1);
    QCOMPARE(reported(log), 2);
    QVERIFY(log.contains(QStringLiteral("Extractor Error : 255")));
}

void P7ZipExtractorTest::exitCodesFail_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {1, 2, 7, 8, 255})
        QTest::addRow("%d", code) << code;
}

void P7ZipExtractorTest::exitCodesFail()
{
    QFETCH(int, code);
    P7ZipExtractor extractor(standIn("exit " + QByteArray::number(code) + '\n'));
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(!extractor.extract(QStringLiteral("/a"), QStringLiteral("/b")));
    QCOMPARE(finished.count(), 0);
    QCOMPARE(error.count(), 1);
    QCOMPARE(log.lines().mid(1), QStringList({QStringLiteral("Extractor Error : "),
                                              QStringLiteral("Extractor Error : %1").arg(code)}));
}

void P7ZipExtractorTest::errorTextIsLogged()
{
    P7ZipExtractor extractor(standIn("echo 'to output'\necho 'no space' >&2\nexit 2\n"));
    const LogCapture log;
    QVERIFY(!extractor.extract(QStringLiteral("/a"), QStringLiteral("/b")));
    QCOMPARE(log.lines().mid(1), QStringList({QStringLiteral("Extractor Error : no space\n"),
                                              QStringLiteral("Extractor Error : 2")}));
}

void P7ZipExtractorTest::killedProgramFails()
{
    P7ZipExtractor extractor(standIn("kill -9 $$\n"));
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(!extractor.extract(QStringLiteral("/a"), QStringLiteral("/b")));
    QCOMPARE(finished.count(), 0);
    QCOMPARE(error.count(), 1);
    // It had no code of its own, but the number of the signal that ended it.
    QCOMPARE(log.lines().mid(1), QStringList({QStringLiteral("Extractor Error : "),
                                              QStringLiteral("Extractor Error : 9")}));
}

void P7ZipExtractorTest::missingArchiveFails()
{
    const LogCapture log;
    QVERIFY(
        !P7ZipExtractor().extract(path(QStringLiteral("none.7z")), path(QStringLiteral("out"))));
    QCOMPARE(reported(log), 2);
}

void P7ZipExtractorTest::folderIsNoArchive()
{
    const QString folder = path(QStringLiteral("folder.7z"));
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(makeArchive(folder + QStringLiteral("/inner.7z"), {{QStringLiteral("a"), "1"}}));
    const LogCapture log;
    QVERIFY(!P7ZipExtractor().extract(folder, path(QStringLiteral("out"))));
    QCOMPARE(log.lines().mid(1), QStringList({QStringLiteral("Extractor Error : "),
                                              QStringLiteral("Extractor Error : 255")}));
    QVERIFY(fileTree(path(QStringLiteral("out"))).isEmpty());
}

void P7ZipExtractorTest::asteriskInTheDestinationFails()
{
    const QString archive = path(QStringLiteral("a.7z"));
    QVERIFY(makeArchive(archive, {{QStringLiteral("file"), "1"}}));
    const auto before = fileTree(m_folder->path());
    P7ZipExtractor extractor;
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    QVERIFY(!extractor.extract(archive, path(QStringLiteral("out*"))));
    QCOMPARE(error.count(), 1);
    QCOMPARE(fileTree(m_folder->path()), before);
}

void P7ZipExtractorTest::wildcardInTheArchiveFails_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("asterisk") << QStringLiteral("a*.7z");
    QTest::newRow("question mark") << QStringLiteral("a?.7z");
}

/// 7-Zip would unpack the other archive too.
void P7ZipExtractorTest::wildcardInTheArchiveFails()
{
    QFETCH(QString, name);
    QVERIFY(makeArchive(path(QStringLiteral("ab.7z")), {{QStringLiteral("other"), "1"}}));
    QVERIFY(
        writeFile(path(name), archiveOf({{QStringLiteral("file"), "1"}}, QStringLiteral("7z"))));
    const auto before = fileTree(m_folder->path());
    P7ZipExtractor extractor;
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    QVERIFY(!extractor.extract(path(name), path(QStringLiteral("out"))));
    QCOMPARE(error.count(), 1);
    QCOMPARE(fileTree(m_folder->path()), before);
}

void P7ZipExtractorTest::damagedArchiveFails_data()
{
    QTest::addColumn<int>("kept");
    QTest::addColumn<bool>("flips");
    QTest::newRow("empty") << 0 << false;
    QTest::newRow("cut short") << 60 << false;
    QTest::newRow("flipped byte") << 100 << true;
}

void P7ZipExtractorTest::damagedArchiveFails()
{
    QFETCH(int, kept);
    QFETCH(bool, flips);
    const QString archive = path(QStringLiteral("a.7z"));
    QByteArray random;
    for (quint32 value = 1; random.size() < 20000; value = value * 1664525U + 1013904223U)
        random.append(static_cast<char>(value >> 24));
    QVERIFY(makeArchive(archive, {{QStringLiteral("a"), random}}));
    QByteArray bytes = readFile(archive);
    if (flips)
        bytes[bytes.size() / 2] = static_cast<char>(~bytes.at(bytes.size() / 2));
    QVERIFY(writeFile(archive, bytes.left(static_cast<int>(qint64(bytes.size()) * kept / 100))));
    P7ZipExtractor extractor;
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(!extractor.extract(archive, path(QStringLiteral("out"))));
    QCOMPARE(error.count(), 1);
    QCOMPARE(reported(log), 2);
}

void P7ZipExtractorTest::encryptedArchiveFailsWithoutAsking()
{
    const QString archive = path(QStringLiteral("a.7z"));
    QVERIFY(makeArchive(archive, {{QStringLiteral("a"), "secret"}}, QStringLiteral("password")));
    P7ZipExtractor extractor;
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    QVERIFY(!extractor.extract(archive, path(QStringLiteral("out"))));
    QCOMPARE(error.count(), 1);
    QVERIFY(readFile(path(QStringLiteral("out/a"))) != QByteArray("secret"));
}

void P7ZipExtractorTest::answerAndEndOfInputReachTheProgram()
{
    const QString program = standIn("cat > \"${0%/*}/input\"\n");
    QVERIFY(P7ZipExtractor(program).extract(QStringLiteral("a"), QStringLiteral("b")));
    QCOMPARE(readFile(path(QStringLiteral("input"))), QByteArray("A\n"));
}

/// A program in our session could ask for a password at our terminal.
void P7ZipExtractorTest::programHasASessionOfItsOwn()
{
    P7ZipExtractor extractor(standIn("read -r pid name state parent group session rest "
                                     "< /proc/$$/stat\n[ \"$session\" = \"$$\" ]\n"));
    QVERIFY(extractor.extract(QStringLiteral("a"), QStringLiteral("b")));
}

void P7ZipExtractorTest::programThatClosesItsInputIsFine()
{
    P7ZipExtractor extractor(standIn("exec 0<&-\necho done\n"));
    QVERIFY(extractor.extract(QStringLiteral("a"), QStringLiteral("b")));
}

void P7ZipExtractorTest::muchOutputDoesNotBlock()
{
    P7ZipExtractor extractor(
        standIn("head -c 1000000 /dev/zero\nhead -c 1000000 /dev/zero >&2\nexit 0\n"));
    QVERIFY(extractor.extract(QStringLiteral("a"), QStringLiteral("b")));
}

void P7ZipExtractorTest::archiveCannotReachOutside_data()
{
    QTest::addColumn<QVector<TarEntry>>("entries");
    QTest::addColumn<bool>("unpacks");
    QTest::newRow("parent folder") << QVector<TarEntry>{{TarEntry::FILE, "../outside/evil", "x"},
                                                        {TarEntry::FILE, "../../outside/evil", "x"}}
                                   << true;
    QTest::newRow("link to a folder, then a file through it")
        << QVector<TarEntry>{{TarEntry::LINK, "door", "../outside"},
                             {TarEntry::FILE, "door/evil", "x"}}
        << false;
    QTest::newRow("link to a file, then that file")
        << QVector<TarEntry>{{TarEntry::LINK, "door", "../outside/kept"},
                             {TarEntry::FILE, "door", "x"}}
        << false;
    QTest::newRow("hard link, then that file")
        << QVector<TarEntry>{{TarEntry::HARD_LINK, "door", "../outside/kept"},
                             {TarEntry::FILE, "door", "x"}}
        << false;
}

void P7ZipExtractorTest::archiveCannotReachOutside()
{
    QFETCH(QVector<TarEntry>, entries);
    QFETCH(bool, unpacks);
    const QString outside = path(QStringLiteral("outside"));
    QVERIFY(writeFile(outside + QStringLiteral("/kept"), "kept"));
    // An absolute name needs a folder that only this run knows.
    entries.append({TarEntry::FILE, QFile::encodeName(outside + QStringLiteral("/absolute")), "x"});
    const auto before = fileTree(outside);
    QVERIFY(makeTar(path(QStringLiteral("a.tar")), entries));
    const bool unpacked =
        P7ZipExtractor().extract(path(QStringLiteral("a.tar")), path(QStringLiteral("out")));
    QCOMPARE(fileTree(outside), before);
    QCOMPARE(unpacked, unpacks);
    const auto inside = fileTree(path(QStringLiteral("out")));
    for (const QString &entry : inside)
        QVERIFY2(!entry.startsWith(QLatin1String("-> ..")), qPrintable(entry));
}

KAVO_TEST_MAIN(P7ZipExtractorTest)
#include "P7ZipExtractorTest.moc"

#include "core/P7ZipExtractor.h"
#include "core/Paths.h"
#include "tests/support/Archives.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QThread>

using Kavo::Extractors::P7ZipExtractor;
using namespace Kavo::Testing;

class P7ZipExtractorTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_folder.reset(new QTemporaryDir); }
    void cleanup() { m_folder.reset(); }

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
    void runsInALocaleThatKnowsAllNames();

    void programThatCannotStartFails_data();
    void programThatCannotStartFails();
    void failureIsReportedWithItsCode_data();
    void failureIsReportedWithItsCode();
    void errorTextIsLogged();
    void archiveThatIsMissingFails();
    void folderIsNoArchive();
    void asteriskInTheDestinationFails();
    void wildcardInTheArchiveFails_data();
    void wildcardInTheArchiveFails();
    void damagedArchiveFails_data();
    void damagedArchiveFails();
    void encryptedArchiveFailsWithoutAsking();

    void answerAndEndOfInputReachTheProgram();
    void unusualProgramsSucceed_data();
    void unusualProgramsSucceed();

    void archiveCannotReachOutside_data();
    void archiveCannotReachOutside();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    /// Creates an archive with one file, "a", and returns its path.
    QString simpleArchive(const QString &name = "a.7z"_s) const;
    /// Creates a script that is used instead of 7-Zip, and returns its path.
    QString standIn(const QByteArray &script) const;
    /// Unpacks into "out" and checks that the only signal reports success.
    void unpack(const QString &archive, const QString &program = "/usr/bin/7z"_s) const;
    /// Tries to unpack and checks that the only signal reports failure. Returns the log lines about
    /// it.
    QStringList failToUnpack(const QString &archive, const QString &program = "/usr/bin/7z"_s,
                             const QString &target = "out"_s) const;

    QScopedPointer<QTemporaryDir> m_folder;
};

void P7ZipExtractorTest::initTestCase()
{
    QVERIFY2(QFile::exists("/usr/bin/7z"_s), "These tests run the real 7-Zip");
}

QString P7ZipExtractorTest::simpleArchive(const QString &name) const
{
    return makeArchive(path(name), {{"a"_s, "1"}}) ? path(name) : QString();
}

QString P7ZipExtractorTest::standIn(const QByteArray &script) const
{
    const QString program = path("stand-in"_s);
    if (!writeFile(program, "#!/bin/sh\n" + script))
        return QString();
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return program;
}

void P7ZipExtractorTest::unpack(const QString &archive, const QString &program) const
{
    P7ZipExtractor extractor(program);
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    QVERIFY(extractor.extract(archive, path("out"_s)));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(error.count(), 0);
    QCOMPARE(log.count("Extractor Error : "_s), 0);
}

QStringList P7ZipExtractorTest::failToUnpack(const QString &archive, const QString &program,
                                             const QString &target) const
{
    P7ZipExtractor extractor(program);
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    const LogCapture log;
    if (extractor.extract(archive, path(target)) || finished.count() != 0 || error.count() != 1)
        return {"this has not failed as it should"_s};
    return log.lines().filter(QRegularExpression("^Extractor Error"_s));
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
    Rows<QString>()
        .row("7z", "a.7z")
        .row("zip", "a.zip")
        .row("tar", "a.tar")
        .row("name with blanks", "an archive \u2708.7z");
}

void P7ZipExtractorTest::archivesAreUnpacked()
{
    const auto [name] = Rows<QString>::current();
    const Files files{{"readme.txt"_s, "read me"},
                      {"plugins/a b/lin.xpl"_s, QByteArray(100000, 'x')},
                      {"Custom/\u00fc.txt"_s, ""},
                      {"empty/"_s, ""}};
    QVERIFY(makeArchive(path(name), files));
    unpack(path(name));
    QCOMPARE(fileTree(path("out"_s)), expectedTree(files));
}

void P7ZipExtractorTest::oneObjectUnpacksOneAfterAnother()
{
    const QString good = simpleArchive();
    QVERIFY(writeFile(path("bad.7z"_s), "no archive"));
    P7ZipExtractor extractor;
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    QVERIFY(extractor.extract(good, path("1"_s)));
    QVERIFY(!extractor.extract(path("bad.7z"_s), path("2"_s)));
    QVERIFY(extractor.extract(good, path("3"_s)));
    QCOMPARE(finished.count(), 2);
    QCOMPARE(error.count(), 1);
    QCOMPARE(readFile(path("3/a"_s)), QByteArray("1"));
}

void P7ZipExtractorTest::worksOnAnotherThread()
{
    const QString archive = simpleArchive();
    bool unpacked = false;
    const QScopedPointer<QThread> thread(QThread::create([&unpacked, &archive, this] {
        unpacked = P7ZipExtractor().extract(archive, path("out"_s));
    }));
    thread->start();
    QVERIFY(thread->wait());
    QVERIFY(unpacked);
    QCOMPARE(readFile(path("out/a"_s)), QByteArray("1"));
}

// Fixed, see docs/compatibility.md.
void P7ZipExtractorTest::callIsLogged()
{
    const QString archive = simpleArchive();
    const LogCapture log;
    QVERIFY(P7ZipExtractor().extract(archive, path("out/"_s)));
    QCOMPARE(log.lines(),
             QStringList("Extract paramenter : /usr/bin/7z (\"x\", \"%1\", \"-o%2\")"_s.arg(
                 archive, path("out/"_s))));
}

// Fixed, see docs/compatibility.md.
void P7ZipExtractorTest::exactlyThreeArguments()
{
    const QString program = standIn("printf '%s\\n' \"$#\" \"$@\" > \"${0%/*}/arguments\"\n");
    const QString archive = path("an archive.7z"_s);
    QVERIFY(P7ZipExtractor(program).extract(archive, path("a place/x "_s)));
    QCOMPARE(QString::fromUtf8(readFile(path("arguments"_s))),
             "3\nx\n%1\n-o%2\n"_s.arg(archive, path("a place/x "_s)));
}

/// 7-Zip runs in another folder, where the relative path would name another file.
void P7ZipExtractorTest::relativeArchiveIsMadeAbsolute()
{
    simpleArchive();
    const QString before = QDir::currentPath();
    QDir::setCurrent(m_folder->path());
    const bool unpacked = P7ZipExtractor().extract("a.7z"_s, path("out"_s));
    QDir::setCurrent(before);
    QVERIFY(unpacked);
    QCOMPARE(readFile(path("out/a"_s)), QByteArray("1"));
}

void P7ZipExtractorTest::runsInTheExecutablesFolder()
{
    unpack("a"_s, standIn("pwd > \"${0%/*}/where\"\n"));
    QCOMPARE(QDir(QString::fromUtf8(readFile(path("where"_s)).trimmed())),
             QDir(Kavo::applicationDirectory()));
}

void P7ZipExtractorTest::existingFilesAreReplaced()
{
    Files files{{"a"_s, "new a"}, {"sub/b"_s, "new b"}};
    QVERIFY(makeArchive(path("a.7z"_s), files));
    QVERIFY(
        writeFiles(path("out"_s),
                   {{"a"_s, "a longer old a"}, {"sub/b"_s, "old b"}, {"sub/other"_s, "stays"}}));
    unpack(path("a.7z"_s));
    files.insert("sub/other"_s, "stays");
    QCOMPARE(fileTree(path("out"_s)), expectedTree(files));
}

/// Some builds of 7-Zip damage non-ASCII names in the POSIX locale.
void P7ZipExtractorTest::runsInALocaleThatKnowsAllNames()
{
    const QByteArray locale = qgetenv("LC_ALL");
    qputenv("LC_ALL", "C");
    unpack("a"_s, standIn("printf %s \"$LC_ALL\" > \"${0%/*}/locale\"\n"));
    qputenv("LC_ALL", locale);
    QCOMPARE(readFile(path("locale"_s)), QByteArray("C.UTF-8"));
}

void P7ZipExtractorTest::destinationIsMade()
{
    const QString target = path("deep/with blanks/in it/"_s);
    QVERIFY(P7ZipExtractor().extract(simpleArchive(), target));
    QCOMPARE(readFile(target + "a"_s), QByteArray("1"));
}

void P7ZipExtractorTest::programThatCannotStartFails_data()
{
    // The log line does not name a program that is missing.
    Rows<QString, bool>().row("missing", "missing", true).row("not executable", "text", false);
}

void P7ZipExtractorTest::programThatCannotStartFails()
{
    const auto [name, isMissing] = Rows<QString, bool>::current();
    QVERIFY(isMissing || writeFile(path(name), "not executable"));
    const LogCapture log;
    P7ZipExtractor extractor(path(name));
    QSignalSpy finished(&extractor, &P7ZipExtractor::finished);
    QSignalSpy error(&extractor, &P7ZipExtractor::error);
    QVERIFY(!extractor.extract("/a"_s, "/b"_s));
    QCOMPARE(finished.count(), 0);
    QCOMPARE(error.count(), 1);
    QCOMPARE(log.contains("Extract paramenter :  (\"x\", \"/a\", \"-o/b\")"_s), isMissing);
    QCOMPARE(log.lines().filter(QRegularExpression("^Extractor"_s)),
             QStringList({"Extractor Error : "_s, "Extractor Error : 255"_s}));
}

void P7ZipExtractorTest::failureIsReportedWithItsCode_data()
{
    Rows<QByteArray, int> rows;
    for (const int code : {1, 2, 7, 8, 255})
        rows.row(QByteArray::number(code), "exit " + QByteArray::number(code) + '\n', code);
    // A killed program has no exit code; the number of the signal is reported instead.
    rows.row("killed", "kill -9 $$\n", 9);
}

void P7ZipExtractorTest::failureIsReportedWithItsCode()
{
    const auto [script, code] = Rows<QByteArray, int>::current();
    QCOMPARE(failToUnpack("/a"_s, standIn(script)),
             QStringList({"Extractor Error : "_s, "Extractor Error : %1"_s.arg(code)}));
}

void P7ZipExtractorTest::errorTextIsLogged()
{
    QCOMPARE(failToUnpack("/a"_s, standIn("echo 'to output'\necho 'no space' >&2\nexit 2\n")),
             QStringList({"Extractor Error : no space\n"_s, "Extractor Error : 2"_s}));
}

void P7ZipExtractorTest::archiveThatIsMissingFails()
{
    QCOMPARE(failToUnpack(path("none.7z"_s)).size(), 2);
}

void P7ZipExtractorTest::folderIsNoArchive()
{
    QVERIFY(QDir().mkpath(path("folder.7z"_s)));
    simpleArchive("folder.7z/inner.7z"_s);
    QCOMPARE(failToUnpack(path("folder.7z"_s)),
             QStringList({"Extractor Error : "_s, "Extractor Error : 255"_s}));
    QVERIFY(fileTree(path("out"_s)).isEmpty());
}

void P7ZipExtractorTest::asteriskInTheDestinationFails()
{
    const QString archive = simpleArchive();
    const auto before = fileTree(m_folder->path());
    QCOMPARE(failToUnpack(archive, "/usr/bin/7z"_s, "out*"_s).size(), 2);
    QCOMPARE(fileTree(m_folder->path()), before);
}

void P7ZipExtractorTest::wildcardInTheArchiveFails_data()
{
    Rows<QString>().row("asterisk", "a*.7z").row("question mark", "a?.7z");
}

/// 7-Zip would take the name as a pattern and unpack the other archive as well.
void P7ZipExtractorTest::wildcardInTheArchiveFails()
{
    const auto [name] = Rows<QString>::current();
    simpleArchive("ab.7z"_s);
    QVERIFY(writeFile(path(name), archiveOf({{"file"_s, "1"}}, "7z"_s)));
    const auto before = fileTree(m_folder->path());
    QCOMPARE(failToUnpack(path(name)).size(), 2);
    QCOMPARE(fileTree(m_folder->path()), before);
}

void P7ZipExtractorTest::damagedArchiveFails_data()
{
    Rows<int, bool>()
        .row("empty", 0, false)
        .row("cut short", 60, false)
        .row("flipped byte", 100, true);
}

void P7ZipExtractorTest::damagedArchiveFails()
{
    const auto [percent, flips] = Rows<int, bool>::current();
    QByteArray random;
    for (quint32 value = 1; random.size() < 20000; value = value * 1664525U + 1013904223U)
        random.append(static_cast<char>(value >> 24));
    QByteArray bytes = archiveOf({{"a"_s, random}}, "7z"_s);
    QVERIFY(!bytes.isEmpty());
    if (flips)
        bytes[bytes.size() / 2] = static_cast<char>(~bytes.at(bytes.size() / 2));
    QVERIFY(writeFile(path("a.7z"_s), bytes.left(bytes.size() / 100 * percent)));
    QCOMPARE(failToUnpack(path("a.7z"_s)).size(), 2);
}

void P7ZipExtractorTest::encryptedArchiveFailsWithoutAsking()
{
    QVERIFY(makeArchive(path("a.7z"_s), {{"a"_s, "secret"}}, "password"_s));
    QCOMPARE(failToUnpack(path("a.7z"_s)).size(), 2);
    QVERIFY(readFile(path("out/a"_s)) != QByteArray("secret"));
}

void P7ZipExtractorTest::answerAndEndOfInputReachTheProgram()
{
    unpack("a"_s, standIn("cat > \"${0%/*}/input\"\n"));
    QCOMPARE(readFile(path("input"_s)), QByteArray("A\n"));
}

void P7ZipExtractorTest::unusualProgramsSucceed_data()
{
    Rows<QByteArray>()
        // A program in the session of the tests could ask for a password at their terminal.
        .row("has a session of its own", "read -r pid name state parent group session rest "
                                         "< /proc/$$/stat\n[ \"$session\" = \"$$\" ]\n")
        .row("closes its input", "exec 0<&-\necho done\n")
        .row("prints much", "head -c 1000000 /dev/zero\nhead -c 1000000 /dev/zero >&2\nexit 0\n");
}

void P7ZipExtractorTest::unusualProgramsSucceed()
{
    const auto [script] = Rows<QByteArray>::current();
    QVERIFY(P7ZipExtractor(standIn(script)).extract("a"_s, "b"_s));
}

void P7ZipExtractorTest::archiveCannotReachOutside_data()
{
    Rows<QVector<TarEntry>, bool>()
        .row(
            "parent folder",
            {{TarEntry::FILE, "../outside/evil", "x"}, {TarEntry::FILE, "../../outside/evil", "x"}},
            true)
        .row("link to a folder, then a file through it",
             {{TarEntry::LINK, "door", "../outside"}, {TarEntry::FILE, "door/evil", "x"}}, false)
        .row("link to a file, then that file",
             {{TarEntry::LINK, "door", "../outside/kept"}, {TarEntry::FILE, "door", "x"}}, false)
        .row("hard link, then that file",
             {{TarEntry::HARD_LINK, "door", "../outside/kept"}, {TarEntry::FILE, "door", "x"}},
             false);
}

void P7ZipExtractorTest::archiveCannotReachOutside()
{
    auto [entries, unpacks] = Rows<QVector<TarEntry>, bool>::current();
    const QString outside = path("outside"_s);
    QVERIFY(writeFile(outside + "/kept"_s, "kept"));
    // The absolute name cannot be in the table, because its folder is known only at run time.
    entries.append({TarEntry::FILE, QFile::encodeName(outside + "/absolute"_s), "x"});
    const auto before = fileTree(outside);
    QVERIFY(writeFile(path("a.tar"_s), tarOf(entries)));
    const bool unpacked = P7ZipExtractor().extract(path("a.tar"_s), path("out"_s));
    QCOMPARE(fileTree(outside), before);
    QCOMPARE(unpacked, unpacks);
    const auto inside = fileTree(path("out"_s));
    for (const QString &entry : inside)
        QVERIFY2(!entry.startsWith("-> .."_s), qPrintable(entry));
}

KAVO_TEST_MAIN(P7ZipExtractorTest)
#include "P7ZipExtractorTest.moc"

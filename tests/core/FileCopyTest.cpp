#include "core/FileCopy.h"
#include "tests/core/SyncWitness.h"
#include "tests/support/Files.h"
#include "tests/support/FullDisk.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using Kavo::copyOver;
using Kavo::copyWhole;
using Kavo::haveEqualContent;
using Kavo::hiddenBeside;
using Kavo::isSameFile;
using Kavo::isTaken;
using namespace Kavo::Testing;

class FileCopyTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_folder.reset(); }

    void copyHasContentAndPermissions_data();
    void copyHasContentAndPermissions();
    void nothingIsOverwritten();
    void linkToNowhereIsNotOverwritten();
    void copyThatCannotBeWrittenLeavesNothing();
    void missingSourceLeavesNothing();
    void sourceThatCannotBeReadLeavesNothing();
    void missingFolderFails();
    void partialCopyOfAKilledProcessIsRemoved();
    void longestNameCanBeCopied();
    void linkInPlaceOfThePartialCopyIsNotFollowed();

    void fileIsReplacedByTheCopy();
    void linkIsReplacedByTheCopy();
    void fileStaysWhenTheCopyFails_data();
    void fileStaysWhenTheCopyFails();

    void contentReachesTheDiskBeforeItsName();
    void pathsAreTakenByFilesFoldersAndLinks();
    void filesAreTheSameByAnyName();
    void contentIsComparedToItsEnd();
    void hiddenNamesDiffer();

private:
    QString from() const { return m_folder->filePath("from/file.txt"_s); }
    QString to() const { return m_folder->filePath("to/file.txt"_s); }
    /// The files in the folder of the copy, including hidden ones.
    QStringList found() const;
    void makeRemains();

    std::unique_ptr<QTemporaryDir> m_folder;
};

void FileCopyTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(writeFile(from(), QByteArray(700001, 'u')));
    QVERIFY(QDir().mkpath(m_folder->filePath("to"_s)));
}

QStringList FileCopyTest::found() const
{
    return fileTree(m_folder->filePath("to"_s)).keys();
}

/// Runs a child process that is killed in the middle of a copy.
void FileCopyTest::makeRemains()
{
    const pid_t child = ::fork();
    if (child == 0) {
        // The default action kills a process that writes too much. An ignored signal would not.
        std::signal(SIGXFSZ, SIG_DFL);
        const rlimit tight{300000, 300000};
        ::setrlimit(RLIMIT_FSIZE, &tight);
        copyWhole(from(), to());
        ::_exit(0);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status));
}

void FileCopyTest::copyHasContentAndPermissions_data()
{
    Rows<uint>()
        .row("usual", 0644U)
        .row("secret", 0600U)
        .row("program", 0755U)
        .row("read-only", 0444U);
}

void FileCopyTest::copyHasContentAndPermissions()
{
    const auto [mode] = Rows<uint>::current();
    QCOMPARE(::chmod(QFile::encodeName(from()).constData(), mode), 0);
    QVERIFY(copyWhole(from(), to()));
    QCOMPARE(readFile(to()), readFile(from()));
    struct stat status = {};
    QCOMPARE(::stat(QFile::encodeName(to()).constData(), &status), 0);
    QCOMPARE(static_cast<uint>(status.st_mode & 07777U), mode);
    QCOMPARE(found(), QStringList{"file.txt"_s});
}

void FileCopyTest::nothingIsOverwritten()
{
    QVERIFY(writeFile(to(), "here before"));
    QVERIFY(!copyWhole(from(), to()));
    QCOMPARE(readFile(to()), QByteArray("here before"));
    QCOMPARE(found(), QStringList{"file.txt"_s});
}

void FileCopyTest::linkToNowhereIsNotOverwritten()
{
    QVERIFY(QFile::link("/nowhere/at/all"_s, to()));
    QVERIFY(!copyWhole(from(), to()));
    QVERIFY(QFileInfo(to()).isSymLink());
    QCOMPARE(found(), QStringList{"file.txt"_s});
}

void FileCopyTest::copyThatCannotBeWrittenLeavesNothing()
{
    const FullDisk disk(300000);
    QVERIFY(!copyWhole(from(), to()));
    QCOMPARE(found(), QStringList());
}

void FileCopyTest::missingSourceLeavesNothing()
{
    QVERIFY(!copyWhole(from() + ".missing"_s, to()));
    QCOMPARE(found(), QStringList());
}

void FileCopyTest::sourceThatCannotBeReadLeavesNothing()
{
    // This file can be opened, but its first bytes cannot be read.
    QVERIFY(!copyWhole("/proc/self/mem"_s, to()));
    QCOMPARE(found(), QStringList());
}

void FileCopyTest::missingFolderFails()
{
    QVERIFY(!copyWhole(from(), m_folder->filePath("missing/file.txt"_s)));
}

void FileCopyTest::partialCopyOfAKilledProcessIsRemoved()
{
    makeRemains();
    // A partial copy exists, but not under the final name.
    QCOMPARE(found().size(), 1);
    QVERIFY(found() != QStringList{"file.txt"_s});
    QVERIFY(copyWhole(from(), to()));
    QCOMPARE(readFile(to()), readFile(from()));
    QCOMPARE(found(), QStringList{"file.txt"_s});

    QFile::remove(to());
    makeRemains();
    QVERIFY(writeFile(to(), "somebody's"));
    QVERIFY(!copyWhole(from(), to()));
    QCOMPARE(found(), QStringList{"file.txt"_s});
}

void FileCopyTest::longestNameCanBeCopied()
{
    const QString name(255, QLatin1Char('n'));
    QVERIFY(copyWhole(from(), m_folder->filePath("to/"_s + name)));
    QCOMPARE(found(), QStringList{name});
}

void FileCopyTest::linkInPlaceOfThePartialCopyIsNotFollowed()
{
    const QString outside = m_folder->filePath("outside.txt"_s);
    QVERIFY(writeFile(outside, "theirs"));
    QVERIFY(QFile::link(outside, hiddenBeside(to(), "copy"_s)));
    QVERIFY(copyWhole(from(), to()));
    QCOMPARE(readFile(outside), QByteArray("theirs"));
    QCOMPARE(readFile(to()), readFile(from()));
}

void FileCopyTest::fileIsReplacedByTheCopy()
{
    QVERIFY(writeFile(to(), "here before"));
    QVERIFY(copyOver(from(), to()));
    QCOMPARE(readFile(to()), readFile(from()));
    QCOMPARE(found(), QStringList{"file.txt"_s});
}

void FileCopyTest::linkIsReplacedByTheCopy()
{
    const QString outside = m_folder->filePath("outside.txt"_s);
    QVERIFY(writeFile(outside, "theirs"));
    QVERIFY(QFile::link(outside, to()));
    QVERIFY(copyOver(from(), to()));
    QVERIFY(!QFileInfo(to()).isSymLink());
    QCOMPARE(readFile(outside), QByteArray("theirs"));
}

void FileCopyTest::fileStaysWhenTheCopyFails_data()
{
    Rows<bool>().row("full disk", true).row("missing source", false);
}

void FileCopyTest::fileStaysWhenTheCopyFails()
{
    const auto [isFull] = Rows<bool>::current();
    QVERIFY(writeFile(to(), "here before"));
    {
        const FullDisk disk(300000);
        QVERIFY(!copyOver(isFull ? from() : from() + ".missing"_s, to()));
    }
    QCOMPARE(readFile(to()), QByteArray("here before"));
    QCOMPARE(found(), QStringList{"file.txt"_s});
}

/// After a power failure, a file with the final name but without its content would be taken for the
/// user's file, and the original may already be gone from another disk.
void FileCopyTest::contentReachesTheDiskBeforeItsName()
{
    const SyncWitness witness;
    QVERIFY(copyWhole(from(), to()));
    QVERIFY(copyOver(from(), to()));
    QCOMPARE(witness.renamed(), 2);
    QCOMPARE(witness.syncedBefore(), 2);
    QCOMPARE(witness.syncedAfter(), 2);
}

void FileCopyTest::pathsAreTakenByFilesFoldersAndLinks()
{
    QVERIFY(isTaken(from()));
    QVERIFY(isTaken(m_folder->path()));
    QVERIFY(!isTaken(to()));
    QVERIFY(QFile::link("/nowhere/at/all"_s, to()));
    QVERIFY(isTaken(to()));
}

void FileCopyTest::filesAreTheSameByAnyName()
{
    QVERIFY(writeFile(to(), readFile(from())));
    const QString link = to() + ".link"_s;
    QVERIFY(QFile::link(from(), link));
    QVERIFY(isSameFile(link, from()));
    QVERIFY(!isSameFile(to(), from()));
    QVERIFY(!isSameFile(to() + ".missing"_s, from()));
}

void FileCopyTest::contentIsComparedToItsEnd()
{
    const QByteArray content = readFile(from());
    QVERIFY(writeFile(to(), content));
    QVERIFY(haveEqualContent(from(), to()));
    QVERIFY(writeFile(to(), content.chopped(1) + 'x'));
    QVERIFY(!haveEqualContent(from(), to()));
    // The contents are equal up to the end of the shorter file.
    QVERIFY(writeFile(to(), content + 'u'));
    QVERIFY(!haveEqualContent(from(), to()));
    QVERIFY(!haveEqualContent(from(), to() + ".missing"_s));
}

void FileCopyTest::hiddenNamesDiffer()
{
    const QString name = hiddenBeside(to(), "copy"_s);
    QCOMPARE(hiddenBeside(to(), "copy"_s), name);
    QCOMPARE(QFileInfo(name).path(), QFileInfo(to()).path());
    QVERIFY(QFileInfo(name).fileName().startsWith(QLatin1Char('.')));
    QVERIFY(hiddenBeside(to(), "settled"_s) != name);
    QVERIFY(hiddenBeside(to() + QLatin1Char('2'), "copy"_s) != name);
}

KAVO_TEST_MAIN(FileCopyTest)
#include "FileCopyTest.moc"

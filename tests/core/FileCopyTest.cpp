#include "core/FileCopy.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using Kavo::copyWhole;
using namespace Kavo::Testing;

namespace {

/// As long as it lives, no file of this process grows beyond so many bytes: a full disk.
class FullDisk final
{
public:
    explicit FullDisk(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        const rlimit tight{bytes, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &tight);
    }
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        std::signal(SIGXFSZ, m_handler);
    }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    void (*m_handler)(int);
    rlimit m_limit{};
};

} // namespace

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
    void remainsOfASuddenEndAreClearedAway();
    void longestNameCanBeCopied();

private:
    QString from() const { return m_folder->filePath(QStringLiteral("from/file.txt")); }
    QString to() const { return m_folder->filePath(QStringLiteral("to/file.txt")); }
    /// What stands in the folder of the copy, hidden files included.
    QStringList found() const;
    void makeRemains();

    std::unique_ptr<QTemporaryDir> m_folder;
};

void FileCopyTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(writeFile(from(), QByteArray(700001, 'u')));
    QVERIFY(QDir().mkpath(m_folder->filePath(QStringLiteral("to"))));
}

QStringList FileCopyTest::found() const
{
    return fileTree(m_folder->filePath(QStringLiteral("to"))).keys();
}

/// Dies in the middle of a copy: a child of this process does.
void FileCopyTest::makeRemains()
{
    const pid_t child = ::fork();
    if (child == 0) {
        // Unlike an ignored signal, this one kills the process that writes too much.
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
    QTest::addColumn<uint>("mode");
    QTest::newRow("usual") << 0644U;
    QTest::newRow("secret") << 0600U;
    QTest::newRow("program") << 0755U;
    QTest::newRow("read-only") << 0444U;
}

void FileCopyTest::copyHasContentAndPermissions()
{
    QFETCH(uint, mode);
    QCOMPARE(::chmod(QFile::encodeName(from()).constData(), mode), 0);
    QVERIFY(copyWhole(from(), to()));
    QCOMPARE(readFile(to()), readFile(from()));
    struct stat status = {};
    QCOMPARE(::stat(QFile::encodeName(to()).constData(), &status), 0);
    QCOMPARE(static_cast<uint>(status.st_mode & 07777U), mode);
    QCOMPARE(found(), QStringList{QStringLiteral("file.txt")});
}

void FileCopyTest::nothingIsOverwritten()
{
    QVERIFY(writeFile(to(), "here before"));
    QVERIFY(!copyWhole(from(), to()));
    QCOMPARE(readFile(to()), QByteArray("here before"));
    QCOMPARE(found(), QStringList{QStringLiteral("file.txt")});
}

void FileCopyTest::linkToNowhereIsNotOverwritten()
{
    QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), to()));
    QVERIFY(!copyWhole(from(), to()));
    QVERIFY(QFileInfo(to()).isSymLink());
    QCOMPARE(found(), QStringList{QStringLiteral("file.txt")});
}

void FileCopyTest::copyThatCannotBeWrittenLeavesNothing()
{
    const FullDisk disk(300000);
    QVERIFY(!copyWhole(from(), to()));
    QCOMPARE(found(), QStringList());
}

void FileCopyTest::missingSourceLeavesNothing()
{
    QVERIFY(!copyWhole(from() + QStringLiteral(".missing"), to()));
    QCOMPARE(found(), QStringList());
}

void FileCopyTest::sourceThatCannotBeReadLeavesNothing()
{
    // Opens, but has no bytes at its beginning.
    QVERIFY(!copyWhole(QStringLiteral("/proc/self/mem"), to()));
    QCOMPARE(found(), QStringList());
}

void FileCopyTest::missingFolderFails()
{
    QVERIFY(!copyWhole(from(), m_folder->filePath(QStringLiteral("missing/file.txt"))));
}

void FileCopyTest::remainsOfASuddenEndAreClearedAway()
{
    makeRemains();
    // Half a copy is there, but not under the name of the whole one.
    QCOMPARE(found().size(), 1);
    QVERIFY(found() != QStringList{QStringLiteral("file.txt")});
    QVERIFY(copyWhole(from(), to()));
    QCOMPARE(readFile(to()), readFile(from()));
    QCOMPARE(found(), QStringList{QStringLiteral("file.txt")});

    QFile::remove(to());
    makeRemains();
    QVERIFY(writeFile(to(), "somebody's"));
    QVERIFY(!copyWhole(from(), to()));
    QCOMPARE(found(), QStringList{QStringLiteral("file.txt")});
}

void FileCopyTest::longestNameCanBeCopied()
{
    const QString name(255, QLatin1Char('n'));
    QVERIFY(copyWhole(from(), m_folder->filePath(QStringLiteral("to/") + name)));
    QCOMPARE(found(), QStringList{name});
}

KAVO_TEST_MAIN(FileCopyTest)
#include "FileCopyTest.moc"

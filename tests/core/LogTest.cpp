#include "core/Log.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QDebug>
#include <QTextCodec>
#include <QThread>

#include <memory>
#include <vector>

using namespace Kavo;
using namespace Kavo::Testing;

class LogTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void messagesBecomeLines();
    void everyTypeLooksTheSame();
    void lineBreaksStay();
    void nonAsciiLettersAreWritten();
    void linesAreAppended();
    void pathIsFoundAnewEachTime();
    void unwritableLogIsSilent();
    void unwritableFolderIsSilent();
    void plainLinesHaveNoQuotes();
    void threadsLoseNothing();

private:
    QByteArray content() const { return readFile(m_profile->logFile()); }

    QScopedPointer<ScratchProfile> m_profile;
    QtMessageHandler m_handlerBefore = nullptr;
};

void LogTest::init()
{
    m_profile.reset(new ScratchProfile);
    m_handlerBefore = qInstallMessageHandler(logMessage);
}

void LogTest::cleanup()
{
    qInstallMessageHandler(m_handlerBefore);
    m_profile.reset();
}

void LogTest::messagesBecomeLines()
{
    QCOMPARE(logFile(), m_profile->logFile());
    qDebug("first");
    QCOMPARE(content(), QByteArray("first\n"));
    qDebug() << "second" << 2;
    QCOMPARE(content(), QByteArray("first\nsecond 2\n"));
}

// Fixed, see docs/compatibility.md.
void LogTest::everyTypeLooksTheSame()
{
    qDebug("message");
    qInfo("message");
    qWarning("message");
    qCritical("message");
    QCOMPARE(content(), QByteArray("message\nmessage\nmessage\nmessage\n"));
}

void LogTest::lineBreaksStay()
{
    qDebug("one\ntwo\n");
    qDebug("three");
    QCOMPARE(content(), QByteArray("one\ntwo\n\nthree\n"));
}

void LogTest::nonAsciiLettersAreWritten()
{
    const QString text = "Fl\u00fcgel"_s;
    logLine(text);
    QCOMPARE(content(), QByteArray(QTextCodec::codecForLocale()->fromUnicode(text) + '\n'));
}

void LogTest::linesAreAppended()
{
    QVERIFY(writeFile(m_profile->logFile(), "before\n"));
    qDebug("after");
    QCOMPARE(content(), QByteArray("before\nafter\n"));
}

void LogTest::pathIsFoundAnewEachTime()
{
    qDebug("outer");
    {
        const ScratchProfile other;
        qDebug("inner");
        QCOMPARE(readFile(other.logFile()), QByteArray("inner\n"));
    }
    QVERIFY(QFile::remove(m_profile->logFile()));
    qDebug("again");
    QCOMPARE(content(), QByteArray("again\n"));
}

void LogTest::unwritableLogIsSilent()
{
    QVERIFY(QDir().mkpath(m_profile->logFile()));
    qDebug("lost");
    QCOMPARE(fileTree(m_profile->dataFolder()).keys(), QStringList("log.txt/"_s));
}

void LogTest::unwritableFolderIsSilent()
{
    QVERIFY(writeFile(m_profile->home() + "/.local"_s, "in the way"));
    qDebug("lost");
    QCOMPARE(readFile(m_profile->home() + "/.local"_s), QByteArray("in the way"));
}

void LogTest::plainLinesHaveNoQuotes()
{
    logLine(R"(a "quoted" \ line )"_s);
    QCOMPARE(content(), QByteArray(R"(a "quoted" \ line )"
                                   "\n"));
}

void LogTest::threadsLoseNothing()
{
    constexpr int Threads = 4;
    constexpr int Lines = 100;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int number = 0; number < Threads; ++number) {
        threads.emplace_back(QThread::create([] {
            for (int line = 0; line < Lines; ++line)
                qDebug("a line of a thread");
        }));
        threads.back()->start();
    }
    for (const auto &thread : threads)
        QVERIFY(thread->wait());
    QCOMPARE(content().size(), Threads * Lines * int(qstrlen("a line of a thread\n")));
}

KAVO_TEST_MAIN(LogTest)
#include "LogTest.moc"

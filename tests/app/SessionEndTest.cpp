#include "tests/app/ProgramRun.h"
#include "tests/app/StoredSettings.h"
#include "tests/packages/EngineTest.h"
#include "tests/packages/GatedExtractor.h"
#include "tests/support/Literals.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QProcess>

#include <memory>

using namespace Kavo::Testing;

namespace {

constexpr int Patience = 60000; ///< in milliseconds

/// A helper process that communicates in lines on its standard input and output.
class Companion final
{
public:
    Companion(const QString &program, const QStringList &arguments)
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program, arguments);
    }
    ~Companion()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Companion)

    void order(const QByteArray &word) { m_process.write(word + '\n'); }
    /// The next line of output, without its line feed; empty if none arrives.
    QByteArray hear()
    {
        runUntil([this] { return m_process.canReadLine() || !isRunning(); }, Patience);
        return m_process.readLine().trimmed();
    }
    bool hears(const QByteArray &word) { return hear() == word; }
    bool isSilent() const { return !m_process.canReadLine(); }
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }

private:
    QProcess m_process;
};

} // namespace

/// Runs the program in a desktop session and ends the session.
class SessionEndTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void programEndsWithTheSession()
    {
        const auto run = startRun("/usr/bin/7z"_s, "Download"_s);
        QVERIFY(m_session->hears("joined"));
        QVERIFY(runUntil([this] { return recordedStatus(1) == 1; }, Patience));
        QVERIFY(runUntil([this] { return recordedStatus(2) == 1; }, Patience));
        m_session->order("end");
        QVERIFY(m_session->hears("saved"));
        // Other programs may still cancel the end of the session.
        QVERIFY(run->isRunning());
        m_session->order("die");
        QVERIFY(run->endsWith(0));
        QCOMPARE(stored(profile(), "Language"), "en"_s);
    }

    void sessionWaitsForAnInstallation()
    {
        const GatedExtractor gate(profile().folder("gate"_s));
        const auto run = startRun(gate.program(), "Download"_s);
        QVERIFY(m_session->hears("joined"));
        QVERIFY(gate.waitUntilReached());
        const auto areThere = [this] { return recordedStatus(1) == 4 && recordedStatus(2) == 4; };
        QVERIFY(runUntil(areThere, Patience));
        m_session->order("end");
        // Starting another program takes longer than an answer would.
        ProgramRun later(QStringLiteral(KAVO_ORDERED_PROGRAM),
                         {"-"_s, "-"_s, "-platform"_s, "offscreen"_s});
        later.start();
        QVERIFY(later.endsWith(0));
        QVERIFY(m_session->isSilent());
        QVERIFY(run->isRunning());
        gate.open();
        QVERIFY(m_session->hears("saved"));
        // One package is installed (1), and the other one is still waiting (4).
        QCOMPARE(recordedStatus(1) + recordedStatus(2), 5);
        m_session->order("die");
        QVERIFY(run->endsWith(0));
        QCOMPARE(recordedStatus(1) + recordedStatus(2), 5);
        QCOMPARE(stored(profile(), "Language"), "en"_s);
    }

    void questionIsAnsweredWithNo()
    {
        const auto run = startRun("/usr/bin/7z"_s, "Reset"_s);
        QVERIFY(m_session->hears("joined"));
        QVERIFY(runUntil([&run] { return run->standardOutput().contains("asks"); }, Patience));
        m_session->order("end");
        QVERIFY(m_session->hears("saved"));
        m_session->order("die");
        QVERIFY(run->endsWith(0));
        QCOMPARE(stored(profile(), "Language"), "en"_s);
    }

private:
    void setUp() override
    {
        for (const int id : {1, 2})
            offer({id});
        serveCatalogue();
        settle(profile());
        m_display = std::make_unique<Companion>(QStringLiteral(KAVO_XVFB),
                                                QStringList{"-displayfd"_s, "1"_s, "-screen"_s,
                                                            "0"_s, "1920x1080x24"_s, "-noreset"_s,
                                                            "-nolisten"_s, "tcp"_s});
        const QByteArray number = m_display->hear();
        QVERIFY(!number.isEmpty());
        m_session =
            std::make_unique<Companion>(QStringLiteral(KAVO_STAND_IN_SESSION), QStringList());
        const QByteArray address = m_session->hear();
        QVERIFY(!address.isEmpty());
        qputenv("DISPLAY", ':' + number);
        qputenv("SESSION_MANAGER", address);
    }
    void tearDown() override
    {
        m_session.reset();
        m_display.reset();
    }
    std::unique_ptr<ProgramRun> startRun(const QString &extractor, const QString &button)
    {
        auto run = std::make_unique<ProgramRun>(
            QStringLiteral(KAVO_ORDERED_PROGRAM),
            QStringList{server().url(QString()), extractor, button, "-platform"_s, "xcb"_s});
        run->start();
        return run;
    }

    std::unique_ptr<Companion> m_display;
    std::unique_ptr<Companion> m_session;
};

KAVO_TEST_MAIN(SessionEndTest)
#include "SessionEndTest.moc"

#include "tests/integration/ServerTrial.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;

/// The trials that scripts/check servers makes of many servers, on the one that is always there.
class ServerTrialTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void mainJobIsDone();
    void cutDownloadIsResumed();
    void replacedArchiveIsBegunAnew();
    void deadServerFails();

private:
    Nginx m_server;
};

void ServerTrialTest::initTestCase()
{
    if (!Nginx::isAvailable())
        QSKIP("There is no nginx here");
    QVERIFY(m_server.isRunning());
}

void ServerTrialTest::mainJobIsDone()
{
    ServerTrial trial(QUrl(m_server.url(QStringLiteral("/"))), m_server.folder());
    QCOMPARE(trial.mainJob(), ServerTrial::Outcome::Installed);
}

void ServerTrialTest::cutDownloadIsResumed()
{
    ServerTrial trial(QUrl(m_server.url(QStringLiteral("/"))), m_server.folder());
    QCOMPARE(trial.resume(), ServerTrial::Outcome::Resumed);
}

void ServerTrialTest::replacedArchiveIsBegunAnew()
{
    ServerTrial trial(QUrl(m_server.url(QStringLiteral("/"))), m_server.folder());
    QCOMPARE(trial.replacement(), ServerTrial::Outcome::BegunAnew);
}

/// A publisher that fails stands for a server that does not show what was put there.
void ServerTrialTest::deadServerFails()
{
    ServerTrial trial(QUrl(m_server.url(QStringLiteral("/"))), m_server.folder(),
                      QStringLiteral("/bin/false"));
    QCOMPARE(trial.mainJob(), ServerTrial::Outcome::Failed);
}

KAVO_TEST_MAIN(ServerTrialTest)
#include "ServerTrialTest.moc"

#include "tests/integration/ServerTrial.h"
#include "tests/support/Literals.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;

/// The trials of scripts/check servers, on nginx.
class ServerTrialTest final : public QObject
{
    Q_OBJECT

    using Outcome = ServerTrial::Outcome;

private slots:
    void initTestCase()
    {
        if (!Nginx::isAvailable())
            QSKIP("There is no nginx here");
        QVERIFY(m_server.isRunning());
    }

    void archiveIsInstalled() { QCOMPARE(trial().mainJob(), Outcome::Installed); }
    void cutDownloadIsResumed() { QCOMPARE(trial().resume(), Outcome::Resumed); }
    void replacedArchiveStartsOver() { QCOMPARE(trial().replacement(), Outcome::BegunAnew); }
    /// As on a server that does not show what was put there.
    void failingPublisherFails() { QCOMPARE(trial("/bin/false"_s).mainJob(), Outcome::Failed); }

private:
    ServerTrial trial(const QString &publisher = QString()) const
    {
        return {QUrl(m_server.url("/"_s)), m_server.folder(), publisher};
    }

    Nginx m_server;
};

KAVO_TEST_MAIN(ServerTrialTest)
#include "ServerTrialTest.moc"

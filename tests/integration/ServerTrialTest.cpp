#include "tests/integration/ServerTrial.h"
#include "tests/support/Literals.h"
#include "tests/support/Nginx.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;

/// Runs the trials of `scripts/check servers` on nginx.
class ServerTrialTest final : public QObject
{
    Q_OBJECT

    using Outcome = ServerTrial::Outcome;

private slots:
    void initTestCase()
    {
        if (!Nginx::isAvailable())
            QSKIP("nginx is not installed");
        QVERIFY(m_server.isRunning());
    }

    void archiveIsInstalled() { QCOMPARE(trial().mainJob(), Outcome::Installed); }
    void cutDownloadIsResumed() { QCOMPARE(trial().resume(), Outcome::Resumed); }
    void replacedArchiveStartsOver() { QCOMPARE(trial().replacement(), Outcome::BegunAnew); }
    /// For example because the server refuses the new files.
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

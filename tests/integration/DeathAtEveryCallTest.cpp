#include "tests/integration/AddOnUser.h"
#include "tests/integration/DriverRun.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>

#include <memory>

using namespace Kavo::Testing;

namespace {

/// Small files: each takes few calls to write.
const AddOnSizes Small{3, 3000, 3000};

} // namespace

/// Ends the engine in front of every single call by which it changes something on the disk, lets it
/// finish the work, and looks what the user has lost. What chance may not hit in a thousand deaths
/// is hit here. 7-Zip is another program; its calls are not counted.
class DeathAtEveryCallTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void userLosesNothing_data();
    void userLosesNothing();
    void programThatIsJustBeingStartedEndsToo();
    void cleanupTestCase() { m_user.reset(); }

private:
    QString before() const { return m_snapshot.filePath(QStringLiteral("before")); }
    void preload(DriverRun &run) const;
    QString faultOfCall(const QString &order, int call, bool &died);

    QTemporaryDir m_snapshot;
    std::unique_ptr<AddOnUser> m_user;
    int m_unseen = 0; ///< packages that stood there wholly and were not shown
};

void DeathAtEveryCallTest::initTestCase()
{
    m_user = std::make_unique<AddOnUser>(AddOnUser::Offered::Own, Small, 1);
}

void DeathAtEveryCallTest::userLosesNothing_data()
{
    QTest::addColumn<QString>("order");
    // Each starts from where the one before it has led.
    QTest::newRow("installation") << "install 10:1.0";
    QTest::newRow("update") << "install 10";
    QTest::newRow("removal") << "uninstall 2";
}

void DeathAtEveryCallTest::userLosesNothing()
{
    QFETCH(QString, order);
    m_user->fly();
    QVERIFY(m_user->save(before()));
    m_unseen = 0;
    QStringList faults;
    bool died = true;
    int call = 0;
    while (died) {
        QVERIFY(m_user->load(before()));
        const QString fault = faultOfCall(order, ++call, died);
        if (!fault.isEmpty())
            faults.append(fault);
    }
    std::printf("%s: %d calls, %d not seen\n", qPrintable(order), call - 1, m_unseen);
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(QLatin1Char('\n'))));
    QVERIFY(call > 20);
    // That is the call by which the first file of a version would go.
    QVERIFY2(m_unseen <= 1, qPrintable(QString::number(m_unseen)));
}

/// 7-Zip is not there yet, but a copy of the driver that is about to become it.
void DeathAtEveryCallTest::programThatIsJustBeingStartedEndsToo()
{
    const QString order = QStringLiteral("install 2");
    DriverRun run(m_user->arguments(order));
    preload(run);
    run.setVariable(QStringLiteral("KAVO_DEATH_AT_FORK"), QStringLiteral("1"));
    QVERIFY(run.run());
    QVERIFY(run.isKilled());
    QCOMPARE(m_user->faultAfterDeath(order), QString());
    QVERIFY(
        fileTree(m_user->engine().simulator(QStringLiteral("Custom Scenery/Kavo Lib"))).isEmpty());
}

void DeathAtEveryCallTest::preload(DriverRun &run) const
{
    run.setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral(DYING_CALLS));
    run.setVariable(QStringLiteral("KAVO_DEATH_PROGRAM"), QStringLiteral("engine_driver"));
    // The sanitizers want to be loaded first; the library does not disturb them.
    run.setVariable(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0"));
}

QString DeathAtEveryCallTest::faultOfCall(const QString &order, int call, bool &died)
{
    DriverRun run(m_user->arguments(order));
    preload(run);
    run.setVariable(QStringLiteral("KAVO_DEATH_FOLDER"), m_user->engine().profile().home());
    run.setVariable(QStringLiteral("KAVO_DEATH_CALL"), QString::number(call));
    if (!run.run())
        return QStringLiteral("call %1: does not end").arg(call);
    died = run.isKilled();
    const QString place =
        QStringLiteral("call %1, %2: ").arg(call).arg(run.remarks().join(QLatin1Char(' ')));
    if (!died && run.exitCode() != 0)
        return place + QStringLiteral("ends with status %1").arg(run.exitCode());

    QString fault = m_user->faultAfterDeath(order);
    if (fault.isEmpty())
        fault = m_user->faultOnceStarted(order, &m_unseen);
    if (fault.isEmpty()) {
        DriverRun recovery(m_user->arguments(order));
        if (!recovery.run() || recovery.isKilled() || recovery.exitCode() != 0)
            fault = QStringLiteral("cannot be finished");
    }
    m_user->takeAsDone(order);
    if (fault.isEmpty())
        fault = m_user->faultWhenDone();
    return fault.isEmpty() ? fault : place + fault;
}

KAVO_TEST_MAIN(DeathAtEveryCallTest)
#include "DeathAtEveryCallTest.moc"

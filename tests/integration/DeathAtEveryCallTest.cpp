#include "tests/integration/AddOnUser.h"
#include "tests/integration/DriverRun.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>

#include <memory>

using namespace Kavo::Testing;

namespace {

/// Small files: each takes few calls to write.
const AddOnSizes Small{3, 3000, 3000};

const QString Horn = QStringLiteral("Resources/sounds/horns.wav");

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
    void fileThatHasStayedIsNotLost_data();
    void fileThatHasStayedIsNotLost();
    void programThatIsJustBeingStartedEndsToo();
    void cleanupTestCase() { m_user.reset(); }

private:
    QString before() const { return m_snapshot.filePath(QStringLiteral("before")); }
    void preload(DriverRun &run) const;
    void dieBefore(DriverRun &run, int call);
    bool finish(const QString &order);
    QMap<QString, QByteArray> copies() const;
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

void DeathAtEveryCallTest::fileThatHasStayedIsNotLost_data()
{
    QTest::addColumn<QString>("order");
    QTest::newRow("removal") << "uninstall 12";
    QTest::newRow("next installation") << "install 12";
}

/// A user has put a file of his own over one of an add-on, which stays when that goes.
void DeathAtEveryCallTest::fileThatHasStayedIsNotLost()
{
    QFETCH(QString, order);
    m_user.reset();
    m_user = std::make_unique<AddOnUser>(AddOnUser::Offered::Own, Small, 1);
    Engine &engine = m_user->engine();
    Offer offer{12};
    offer.files = {{Horn, "the add-on's"}};
    offer.backup = QStringList{Horn};
    engine.offer(offer);
    QVERIFY(writeFile(engine.simulator(Horn), "the original"));
    QVERIFY(engine.refresh());
    QVERIFY(engine.installAndWait(12));
    QVERIFY(writeFile(engine.simulator(Horn), "the user's"));
    engine.stop();
    if (order == QLatin1String("install 12"))
        QVERIFY(finish(QStringLiteral("uninstall 12")));
    QVERIFY(m_user->save(before()));
    bool died = true;
    int call = 0;
    while (died) {
        QVERIFY(m_user->load(before()));
        DriverRun run(m_user->arguments(order));
        dieBefore(run, ++call);
        QVERIFY(run.run());
        died = run.isKilled();
        const QString place = run.remarks().join(QLatin1Char(' '));
        const auto left = copies().values();
        QVERIFY2(left.contains("the user's") && left.contains("the original"), qPrintable(place));
        QVERIFY2(finish(order) && finish(QStringLiteral("install 12")), qPrintable(place));
        QCOMPARE(copies().value(QStringLiteral("simulator")), QByteArray("the add-on's"));
        QVERIFY2(copies().value(Horn) == "the user's", qPrintable(place));
        QVERIFY2(copies().values().contains("the original"), qPrintable(place));
        QVERIFY2(finish(QStringLiteral("uninstall 12")), qPrintable(place));
        QCOMPARE(readFile(engine.simulator(Horn)), QByteArray("the user's"));
        QCOMPARE(copies().size(), 2);
    }
    QVERIFY(call > 10);
}

/// What stands in the simulator, and all copies by their places in the backup folder.
QMap<QString, QByteArray> DeathAtEveryCallTest::copies() const
{
    QMap<QString, QByteArray> files{
        {QStringLiteral("simulator"), readFile(m_user->engine().simulator(Horn))}};
    const QString backups = m_user->engine().profile().backupFolder();
    for (const QString &copy : unmarkedFilesUnder(backups))
        files.insert(copy, readFile(backups + copy));
    return files;
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

void DeathAtEveryCallTest::dieBefore(DriverRun &run, int call)
{
    preload(run);
    run.setVariable(QStringLiteral("KAVO_DEATH_FOLDER"), m_user->engine().profile().home());
    run.setVariable(QStringLiteral("KAVO_DEATH_CALL"), QString::number(call));
}

bool DeathAtEveryCallTest::finish(const QString &order)
{
    DriverRun recovery(m_user->arguments(order));
    return recovery.run() && !recovery.isKilled() && recovery.exitCode() == 0;
}

QString DeathAtEveryCallTest::faultOfCall(const QString &order, int call, bool &died)
{
    DriverRun run(m_user->arguments(order));
    dieBefore(run, call);
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
    if (fault.isEmpty() && !finish(order))
        fault = QStringLiteral("cannot be finished");
    m_user->takeAsDone(order);
    if (fault.isEmpty())
        fault = m_user->faultWhenDone();
    return fault.isEmpty() ? fault : place + fault;
}

KAVO_TEST_MAIN(DeathAtEveryCallTest)
#include "DeathAtEveryCallTest.moc"

#include "tests/integration/AddOnUser.h"
#include "tests/integration/DriverRun.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QTemporaryDir>

#include <memory>

using namespace Kavo::Testing;

namespace {

/// Small files, so that few calls are needed to write them.
const AddOnSizes Small{3, 3000, 3000};

const QString Horn = "Resources/sounds/horns.wav"_s;

} // namespace

/// Kills the engine before each call that changes a file, repeats the command, and checks that the
/// user has lost nothing. SuddenDeathTest kills at random and may miss a call; this test does not.
/// The calls of 7-Zip, which is another program, are not counted.
class DeathAtEveryCallTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_user = std::make_unique<AddOnUser>(AddOnUser::Offered::Own, Small, 1); }

    void userLosesNothing_data()
    {
        // Each row starts with the result of the previous one.
        Rows<QString>()
            .row("installation", "install 10:1.0")
            .row("update", "install 10")
            .row("removal", "uninstall 2");
    }

    void userLosesNothing()
    {
        const auto [order] = Rows<QString>::current();
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
        // The exception is the call that deletes the first file of a version.
        QVERIFY2(m_unseen <= 1, qPrintable(QString::number(m_unseen)));
    }

    void fileOfTheUserStays_data()
    {
        Rows<QString>().row("removal", "uninstall 12").row("next installation", "install 12");
    }

    /// The user has replaced a file of an add-on. That file stays when the add-on is removed.
    void fileOfTheUserStays()
    {
        const auto [order] = Rows<QString>::current();
        m_user.reset();
        m_user = std::make_unique<AddOnUser>(AddOnUser::Offered::Own, Small, 1);
        Engine &engine = m_user->engine();
        QVERIFY(writeFile(engine.simulator(Horn), "the original"));
        QVERIFY(engine.publish({Offer{12}.bringing({{Horn, "the add-on's"}}).backingUp({Horn})}));
        QVERIFY(engine.installAndWait(12));
        QVERIFY(writeFile(engine.simulator(Horn), "the user's"));
        engine.stop();
        if (order == "install 12"_s)
            QVERIFY(finish("uninstall 12"_s));
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
            QVERIFY2(left.contains("the user's") && left.contains("the original"),
                     qPrintable(place));
            QVERIFY2(finish(order) && finish("install 12"_s), qPrintable(place));
            QCOMPARE(copies().value("simulator"_s), QByteArray("the add-on's"));
            QVERIFY2(copies().value(Horn) == "the user's", qPrintable(place));
            QVERIFY2(copies().values().contains("the original"), qPrintable(place));
            QVERIFY2(finish("uninstall 12"_s), qPrintable(place));
            QCOMPARE(readFile(engine.simulator(Horn)), QByteArray("the user's"));
            QCOMPARE(copies().size(), 2);
        }
        QVERIFY(call > 10);
    }

    /// Between fork and exec the new process is still a copy of the driver.
    void forkedChildEndsWithTheProgram()
    {
        const QString order = "install 2"_s;
        DriverRun run(m_user->arguments(order));
        preload(run);
        run.setVariable("KAVO_DEATH_AT_FORK"_s, "1"_s);
        QVERIFY(run.run());
        QVERIFY(run.isKilled());
        QCOMPARE(m_user->faultAfterDeath(order), QString());
        QVERIFY(fileTree(m_user->engine().simulator("Custom Scenery/Kavo Lib"_s)).isEmpty());
    }

    void cleanupTestCase() { m_user.reset(); }

private:
    QString before() const { return m_snapshot.filePath("before"_s); }

    void preload(DriverRun &run) const
    {
        run.setVariable("LD_PRELOAD"_s, QStringLiteral(DYING_CALLS));
        run.setVariable("KAVO_DEATH_PROGRAM"_s, "engine_driver"_s);
        // By default AddressSanitizer requires that it is loaded first.
        run.setVariable("ASAN_OPTIONS"_s, "verify_asan_link_order=0"_s);
    }

    void dieBefore(DriverRun &run, int call)
    {
        preload(run);
        run.setVariable("KAVO_DEATH_FOLDER"_s, m_user->engine().profile().home());
        run.setVariable("KAVO_DEATH_CALL"_s, QString::number(call));
    }

    bool finish(const QString &order)
    {
        DriverRun recovery(m_user->arguments(order));
        return recovery.run() && !recovery.isKilled() && recovery.exitCode() == 0;
    }

    /// The file in the simulator, and all copies by their paths in the backup folder.
    QMap<QString, QByteArray> copies() const
    {
        QMap<QString, QByteArray> files{
            {"simulator"_s, readFile(m_user->engine().simulator(Horn))}};
        const QString backups = m_user->engine().profile().backupFolder();
        for (const QString &copy : filesOf(fileTree(backups)).keys())
            files.insert(copy, readFile(backups + copy));
        return files;
    }

    QString faultOfCall(const QString &order, int call, bool &died)
    {
        DriverRun run(m_user->arguments(order));
        dieBefore(run, call);
        if (!run.run())
            return "call %1: the driver does not end"_s.arg(call);
        died = run.isKilled();
        const QString place = "call %1, %2: "_s.arg(call).arg(run.remarks().join(QLatin1Char(' ')));
        if (!died && run.exitCode() != 0)
            return place + "the driver ends with status %1"_s.arg(run.exitCode());

        QString fault = m_user->faultAfterDeath(order);
        if (fault.isEmpty())
            fault = m_user->faultOnceStarted(order, &m_unseen);
        if (fault.isEmpty() && !finish(order))
            fault = "the repeated command fails"_s;
        m_user->takeAsDone(order);
        if (fault.isEmpty())
            fault = m_user->faultWhenDone();
        return fault.isEmpty() ? fault : place + fault;
    }

    QTemporaryDir m_snapshot;
    std::unique_ptr<AddOnUser> m_user;
    int m_unseen = 0; ///< packages that were complete but not shown
};

KAVO_TEST_MAIN(DeathAtEveryCallTest)
#include "DeathAtEveryCallTest.moc"

#include "tests/integration/AddOnUser.h"
#include "tests/integration/DriverRun.h"
#include "tests/support/TestMain.h"

#include <QDir>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>

using namespace Kavo::Testing;

namespace {

const AddOnSizes Realistic{100, 2 * 1024 * 1024, 2 * 1024 * 1024};

/// Phases that may be over before a signal arrives, unless the server waits.
const QString Header = QStringLiteral("header");
const QString Downloading = QStringLiteral("downloading");

/// One step of a user's day, and the phases it goes through.
struct Step
{
    QString order;
    QStringList phases;
    QMap<QString, qint64> phaseTimes = {}; ///< of an undisturbed run, in milliseconds
    qint64 duration = 0;
};

/// A user's days: everything is installed, updated, downgraded and removed.
QVector<Step> makeSteps(const QStringList &orders)
{
    const QStringList installing{Header,
                                 Downloading,
                                 QStringLiteral("backing up"),
                                 QStringLiteral("removing"),
                                 QStringLiteral("extracting"),
                                 QStringLiteral("recording")};
    const QStringList updating =
        installing + QStringList{QStringLiteral("preserving"), QStringLiteral("restoring")};
    const QStringList removing{QStringLiteral("uninstalling"), QStringLiteral("recording")};
    return {{orders.at(0), installing},
            {orders.at(1), updating},
            {orders.at(2), updating},
            {orders.at(3), removing}};
}

int countFromEnvironment(const char *name, int otherwise)
{
    bool isNumber = false;
    const int count = qEnvironmentVariableIntValue(name, &isNumber);
    return isNumber ? count : otherwise;
}

} // namespace

Q_DECLARE_METATYPE(AddOnUser::Offered)

/// Ends the engine without a warning while it installs, updates, downgrades and removes add-ons,
/// lets it finish the work, and looks what the user has lost.
///
/// KAVO_DEATHS says how often, KAVO_SEED repeats a run as far as time can be repeated, and
/// KAVO_KEEP names a folder that gets the account when something was lost.
class SuddenDeathTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void userLosesNothing_data();
    void userLosesNothing();
    void cleanupTestCase();

private:
    void measure();
    int pick(qint64 bound);
    QString pickPhase(const Step &step);
    QString die(const Step &step, DriverRun &run);
    static QString faultOfEnd(const DriverRun &run);
    QString finish(const Step &step);
    QString goThrough(const Step &step);
    QString keep(const QString &fault);

    quint32 m_seed = 0;
    int m_wanted = 0;
    int m_deaths = 0;
    int m_turn = 0;
    QMap<QString, int> m_deathsByPhase;
    std::mt19937 m_random;
    std::unique_ptr<AddOnUser> m_user;
    QVector<Step> m_steps;
};

void SuddenDeathTest::initTestCase()
{
    m_seed = static_cast<quint32>(
        countFromEnvironment("KAVO_SEED", static_cast<int>(std::random_device()() >> 1)));
    m_wanted = countFromEnvironment("KAVO_DEATHS", 30);
    m_random.seed(m_seed);
    std::printf("%d deaths, seed %u\n", m_wanted, m_seed);
}

/// Once without any death: what is lost here is lost without dying, and it tells how long
/// everything takes.
void SuddenDeathTest::measure()
{
    for (Step &step : m_steps) {
        DriverRun run(m_user->arguments(step.order));
        QVERIFY(run.run());
        QVERIFY(!run.isKilled());
        QCOMPARE(run.exitCode(), 0);
        step.phaseTimes = run.phaseTimes();
        step.duration = run.duration();
        std::printf("%s: %lld ms\n", qPrintable(step.order), static_cast<long long>(step.duration));
        m_user->takeAsDone(step.order);
        QCOMPARE(m_user->faultWhenDone(), QString());
        m_user->fly();
    }
}

void SuddenDeathTest::userLosesNothing_data()
{
    QTest::addColumn<AddOnUser::Offered>("offered");
    QTest::addColumn<QStringList>("orders");
    QTest::addColumn<int>("deaths"); // in all, at the end of the row
    QTest::newRow("add-ons that replace files of the simulator")
        << AddOnUser::Offered::Own
        << QStringList{QStringLiteral("install 2:1.0 10:1.0 11:1.0"),
                       QStringLiteral("install 10 11"), QStringLiteral("install 10:1.0 11:1.0"),
                       QStringLiteral("uninstall 2 11")}
        << m_wanted / 2;
    // Two plug-ins that keep a file of the user's, one that backs up one of the simulator's, and a
    // scenery that needs two libraries.
    QTest::newRow("the demonstration")
        << AddOnUser::Offered::Demonstration
        << QStringList{QStringLiteral("install 3:2.0.0 8:1.5.1 9:0.9.0 10:1.9.0"),
                       QStringLiteral("install 3 8 9 10"),
                       QStringLiteral("install 3:1.4.2 8:1.5.1 9:0.9.0 10:1.2.10"),
                       QStringLiteral("uninstall 1 8 9 10")}
        << m_wanted;
}

void SuddenDeathTest::userLosesNothing()
{
    QFETCH(AddOnUser::Offered, offered);
    QFETCH(QStringList, orders);
    QFETCH(int, deaths);
    // Profiles nest; the one before has to go first.
    m_user.reset();
    m_user = std::make_unique<AddOnUser>(offered, Realistic, m_seed);
    m_steps = makeSteps(orders);
    measure();
    for (int number = 0; m_deaths < deaths && !QTest::currentTestFailed(); ++number) {
        const QString fault = goThrough(m_steps.at(number % m_steps.size()));
        if (!fault.isEmpty())
            QFAIL(qPrintable(keep(fault)));
    }
}

void SuddenDeathTest::cleanupTestCase()
{
    std::printf("\n%-14s deaths\n", "phase");
    for (auto phase = m_deathsByPhase.cbegin(); phase != m_deathsByPhase.cend(); ++phase)
        std::printf("%-14s %6d\n", qPrintable(phase.key()), phase.value());
    std::printf("%-14s %6d\n\n", "all", m_deaths);
    std::fflush(stdout);
    m_user.reset();
}

int SuddenDeathTest::pick(qint64 bound)
{
    return std::uniform_int_distribution<int>(0,
                                              static_cast<int>(qMax<qint64>(bound, 0)))(m_random);
}

/// One of the phases that have seen the fewest deaths.
QString SuddenDeathTest::pickPhase(const Step &step)
{
    QStringList phases = step.phases;
    std::shuffle(phases.begin(), phases.end(), m_random);
    return *std::min_element(phases.cbegin(), phases.cend(),
                             [this](const QString &one, const QString &other) {
                                 return m_deathsByPhase.value(one) < m_deathsByPhase.value(other);
                             });
}

/// Runs the step to a death, in turn at any moment of its whole course and at any moment of one
/// phase. Returns what went wrong besides.
QString SuddenDeathTest::die(const Step &step, DriverRun &run)
{
    if (m_turn++ % 3 == 0) {
        run.killAfter(pick(step.duration));
    } else {
        const QString phase = pickPhase(step);
        run.killInPhase(phase, pick(step.phaseTimes.value(phase)));
        if (phase == Header)
            m_user->holdProbes();
        if (phase == Downloading)
            m_user->holdArchives(pick(100) / 100.0);
    }
    const bool ended = run.run();
    m_user->holdNothing();
    if (!ended)
        return QStringLiteral("does not end");
    // It may have been quicker than its death.
    if (!run.isKilled())
        return faultOfEnd(run);
    ++m_deaths;
    ++m_deathsByPhase[run.phase().isEmpty() ? QStringLiteral("before all") : run.phase()];
    const QString fault = m_user->faultAfterDeath(step.order);
    int unseen = 0;
    return fault.isEmpty() ? m_user->faultOnceStarted(step.order, &unseen) : fault;
}

QString SuddenDeathTest::faultOfEnd(const DriverRun &run)
{
    return run.isKilled() || run.exitCode() != 0
               ? QStringLiteral("ends with status %1").arg(run.exitCode())
               : QString();
}

/// The same command once more, to its end.
QString SuddenDeathTest::finish(const Step &step)
{
    DriverRun run(m_user->arguments(step.order));
    if (!run.run())
        return QStringLiteral("does not end");
    m_user->takeAsDone(step.order);
    const QString fault = faultOfEnd(run);
    return fault.isEmpty() ? m_user->faultWhenDone() : fault;
}

/// One step with a death or several, since the run that recovers may die as well.
QString SuddenDeathTest::goThrough(const Step &step)
{
    QString course = step.order;
    QString fault;
    bool again = true;
    while (again && fault.isEmpty()) {
        DriverRun run(m_user->arguments(step.order));
        fault = die(step, run);
        if (run.isKilled())
            course += QStringLiteral(", died at \"%1\"").arg(run.phase());
        again = run.isKilled() && m_deaths < m_wanted && pick(2) == 0;
    }
    if (fault.isEmpty())
        fault = finish(step);
    if (!fault.isEmpty())
        return course + QStringLiteral(": ") + fault;
    m_user->fly();
    return QString();
}

QString SuddenDeathTest::keep(const QString &fault)
{
    QString message = QStringLiteral("%1 (seed %2)").arg(fault).arg(m_seed);
    const QString folder = qEnvironmentVariable("KAVO_KEEP");
    if (!folder.isEmpty() && m_user->save(folder))
        message += QStringLiteral(", kept in ") + folder;
    return message;
}

KAVO_TEST_MAIN(SuddenDeathTest)
#include "SuddenDeathTest.moc"

#include "tests/integration/AddOnUser.h"
#include "tests/integration/DriverRun.h"
#include "tests/integration/Environment.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDir>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>

using namespace Kavo::Testing;

namespace {

const AddOnSizes Realistic{100, 2 * 1024 * 1024, 2 * 1024 * 1024};

/// Phases that may end before the signal arrives, unless the server holds back its answer.
const QString Header = "header"_s;
const QString Downloading = "downloading"_s;

/// One command of the driver, and the phases of its execution.
struct Step
{
    QString order;
    QStringList phases;
    QMap<QString, qint64> phaseTimes = {}; ///< of an undisturbed run, in milliseconds
    qint64 duration = 0;
};

/// The four commands install, update, downgrade and remove add-ons.
QVector<Step> makeSteps(const QStringList &orders)
{
    const QStringList installing{Header,       Downloading,    "backing up"_s,
                                 "removing"_s, "extracting"_s, "recording"_s};
    const QStringList updating = installing + QStringList{"preserving"_s, "restoring"_s};
    const QStringList removing{"uninstalling"_s, "recording"_s};
    return {{orders.at(0), installing},
            {orders.at(1), updating},
            {orders.at(2), updating},
            {orders.at(3), removing}};
}

} // namespace

Q_DECLARE_METATYPE(AddOnUser::Offered)

/// Kills the engine at random moments while it installs, updates, downgrades and removes add-ons,
/// repeats the command, and checks that the user has lost nothing.
///
/// KAVO_DEATHS sets the number of deaths, KAVO_SEED repeats the choices of a run, and KAVO_KEEP
/// names a folder to which the account is copied if something was lost.
class SuddenDeathTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_seed = seedFrom("KAVO_SEED");
        m_wanted = numberFrom("KAVO_DEATHS", 30);
        m_random.seed(m_seed);
        std::printf("%d deaths\n", m_wanted);
    }

    void userLosesNothing_data()
    {
        using Offered = AddOnUser::Offered;
        // The demonstration has two plug-ins that preserve a file of the user, one that backs up a
        // file of the simulator, and a scenery that depends on two packages. The numbers are those
        // of all deaths since the start of the test.
        Rows<Offered, QStringList, int>()
            .row("add-ons that replace files of the simulator", Offered::Own,
                 {"install 2:1.0 10:1.0 11:1.0"_s, "install 10 11"_s, "install 10:1.0 11:1.0"_s,
                  "uninstall 2 11"_s},
                 m_wanted / 2)
            .row("the demonstration", Offered::Demonstration,
                 {"install 3:2.0.0 8:1.5.1 9:0.9.0 10:1.9.0"_s, "install 3 8 9 10"_s,
                  "install 3:1.4.2 8:1.5.1 9:0.9.0 10:1.2.10"_s, "uninstall 1 8 9 10"_s},
                 m_wanted);
    }

    void userLosesNothing()
    {
        const auto [offered, orders, deaths] =
            Rows<AddOnUser::Offered, QStringList, int>::current();
        // Profiles nest, so the previous one must be destroyed first.
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

    void cleanupTestCase()
    {
        std::printf("\n%-14s deaths\n", "phase");
        for (auto phase = m_deathsByPhase.cbegin(); phase != m_deathsByPhase.cend(); ++phase)
            std::printf("%-14s %6d\n", qPrintable(phase.key()), phase.value());
        std::printf("%-14s %6d\n\n", "all", m_deaths);
        std::fflush(stdout);
        m_user.reset();
    }

private:
    /// Runs all commands undisturbed. Measures their phases and checks that they lose nothing.
    void measure()
    {
        for (Step &step : m_steps) {
            DriverRun run(m_user->arguments(step.order));
            QVERIFY(run.run());
            QVERIFY(!run.isKilled());
            QCOMPARE(run.exitCode(), 0);
            step.phaseTimes = run.phaseTimes();
            step.duration = run.duration();
            std::printf("%s: %lld ms\n", qPrintable(step.order),
                        static_cast<long long>(step.duration));
            m_user->takeAsDone(step.order);
            QCOMPARE(m_user->faultWhenDone(), QString());
            m_user->fly();
        }
    }

    int pick(qint64 bound)
    {
        return std::uniform_int_distribution<int>(0, static_cast<int>(qMax<qint64>(bound, 0)))(
            m_random);
    }

    /// A random one of the phases with the fewest deaths so far.
    QString pickPhase(const Step &step)
    {
        QStringList phases = step.phases;
        std::shuffle(phases.begin(), phases.end(), m_random);
        return *std::min_element(
            phases.cbegin(), phases.cend(), [this](const QString &one, const QString &other) {
                return m_deathsByPhase.value(one) < m_deathsByPhase.value(other);
            });
    }

    /// Runs the step and kills it at a random moment: in one of three cases a moment of the whole
    /// run, otherwise one of a single phase. Returns what is wrong afterwards.
    QString die(const Step &step, DriverRun &run)
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
            return "does not end"_s;
        // The run may have ended before the signal.
        if (!run.isKilled())
            return faultOfEnd(run);
        ++m_deaths;
        ++m_deathsByPhase[run.phase().isEmpty() ? "before all"_s : run.phase()];
        const QString fault = m_user->faultAfterDeath(step.order);
        int unseen = 0;
        return fault.isEmpty() ? m_user->faultOnceStarted(step.order, &unseen) : fault;
    }

    static QString faultOfEnd(const DriverRun &run)
    {
        return run.isKilled() || run.exitCode() != 0 ? "ends with status %1"_s.arg(run.exitCode())
                                                     : QString();
    }

    /// Repeats the command undisturbed. Returns what is wrong afterwards.
    QString finish(const Step &step)
    {
        DriverRun run(m_user->arguments(step.order));
        if (!run.run())
            return "does not end"_s;
        m_user->takeAsDone(step.order);
        const QString fault = faultOfEnd(run);
        return fault.isEmpty() ? m_user->faultWhenDone() : fault;
    }

    /// Runs a step and kills it once or several times, because a repeated run may be killed as
    /// well. Then finishes the step. Returns what is wrong.
    QString goThrough(const Step &step)
    {
        QString course = step.order;
        QString fault;
        bool again = true;
        while (again && fault.isEmpty()) {
            DriverRun run(m_user->arguments(step.order));
            fault = die(step, run);
            if (run.isKilled())
                course += R"(, died at "%1")"_s.arg(run.phase());
            again = run.isKilled() && m_deaths < m_wanted && pick(2) == 0;
        }
        if (fault.isEmpty())
            fault = finish(step);
        if (!fault.isEmpty())
            return course + ": "_s + fault;
        m_user->fly();
        return QString();
    }

    QString keep(const QString &fault)
    {
        QString message = "%1 (seed %2)"_s.arg(fault).arg(m_seed);
        const QString folder = qEnvironmentVariable("KAVO_KEEP");
        if (!folder.isEmpty() && m_user->save(folder))
            message += ", kept in "_s + folder;
        return message;
    }

    quint32 m_seed = 0;
    int m_wanted = 0;
    int m_deaths = 0;
    int m_turn = 0;
    QMap<QString, int> m_deathsByPhase;
    std::mt19937 m_random;
    std::unique_ptr<AddOnUser> m_user;
    QVector<Step> m_steps;
};

KAVO_TEST_MAIN(SuddenDeathTest)
#include "SuddenDeathTest.moc"

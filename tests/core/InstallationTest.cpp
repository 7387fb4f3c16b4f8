#include "core/Installation.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

namespace {

/// A shell command that prints the path of the simulator's executable in the folder.
QByteArray printing(const QString &folder)
{
    return "cat <<'END_OF_PATH'\n" + QFile::encodeName(folder + simulatorExecutable()) +
           "\nEND_OF_PATH\n";
}

} // namespace

class InstallationTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_profile.reset(new ScratchProfile); }
    void cleanup() { m_profile.reset(); }

    void firstListedExecutableWins();
    void folderWithAnExecutableHoldsASimulator_data();
    void folderWithAnExecutableHoldsASimulator();
    void noFolderHoldsNoSimulator();
    void toolIsAskedForTheExecutable();
    void linesThatAreNoExecutableAreSkipped();
    void onlyUnusableLinesGiveNothing();
    void namesMayHaveBlanksAndUmlauts();
    void failureGivesNothing_data();
    void failureGivesNothing();
    void missingToolGivesNothing();
    void toolThatAsksIsNotWaitedFor();
    void longListsAreReadWhole();
    void unwantedToolIsEnded();

private:
    /// Creates a folder of this name with the simulator's executable. Returns its path, which ends
    /// with a separator.
    QString makeSimulator(const QString &name) const;

    QScopedPointer<ScratchProfile> m_profile;
};

QString InstallationTest::makeSimulator(const QString &name) const
{
    const QString folder = m_profile->folder(name);
    return writeFile(folder + simulatorExecutable(), "x") ? folder : QString();
}

void InstallationTest::firstListedExecutableWins()
{
    const QString first = makeSimulator("first"_s);
    const QString second = makeSimulator("second"_s);
    const StandInLocate locate({first + simulatorExecutable(), second + simulatorExecutable()});
    QCOMPARE(locateInstallation(), first);
}

void InstallationTest::folderWithAnExecutableHoldsASimulator_data()
{
    Rows<QString, bool>()
        .row("Linux", "X-Plane-x86_64", true)
        .row("Windows", "X-Plane.exe", true)
        .row("inFolderBelow", "below/X-Plane-x86_64", false)
        .row("otherName", "X-Plane-x86_64.bak", false);
}

void InstallationTest::folderWithAnExecutableHoldsASimulator()
{
    const auto [file, holds] = Rows<QString, bool>::current();
    const QString folder = m_profile->folder("folder"_s);
    QVERIFY(!holdsSimulator(folder));
    QVERIFY(writeFile(folder + file, "x"));
    QCOMPARE(holdsSimulator(folder), holds);
}

void InstallationTest::noFolderHoldsNoSimulator()
{
    // An empty path means no folder, not the current one.
    const QString folder = makeSimulator("current"_s);
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder));
    const bool holds = holdsSimulator(QString());
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(!holds);
    QVERIFY(!holdsSimulator(folder + "missing/"_s));
}

// Fixed, see docs/compatibility.md.
void InstallationTest::toolIsAskedForTheExecutable()
{
    const StandInLocate locate({});
    QCOMPARE(locateInstallation(), QString());
    QCOMPARE(locate.arguments(), QStringList("X-Plane-x86_64"_s));
}

void InstallationTest::linesThatAreNoExecutableAreSkipped()
{
    const QString good = makeSimulator("good"_s);
    const QString folder = m_profile->folder("folder/X-Plane-x86_64"_s);
    const QString copy = m_profile->folder("copy"_s) + "X-Plane-x86_64.bak"_s;
    const QString lower = m_profile->folder("lower"_s) + "x-plane-X86_64"_s;
    QVERIFY(writeFile(copy, "x") && writeFile(lower, "x"));
    const StandInLocate locate({"/stale/X-Plane-x86_64"_s, folder.chopped(1), copy, lower,
                                QString(), good + simulatorExecutable()});
    QCOMPARE(locateInstallation(), good);
}

void InstallationTest::onlyUnusableLinesGiveNothing()
{
    const StandInLocate locate({"/stale/X-Plane-x86_64"_s});
    QCOMPARE(locateInstallation(), QString());
}

void InstallationTest::namesMayHaveBlanksAndUmlauts()
{
    const QString folder = makeSimulator("Fl\u00fcge \u2708 12"_s);
    const StandInLocate locate({folder + simulatorExecutable()});
    QCOMPARE(locateInstallation(), folder);
}

void InstallationTest::failureGivesNothing_data()
{
    Rows<QByteArray>().row("no match", "exit 1\n").row("killed", "kill -9 $$\n");
}

void InstallationTest::failureGivesNothing()
{
    const auto [ending] = Rows<QByteArray>::current();
    const QString folder = makeSimulator("there"_s);
    StandInLocate locate({});
    locate.setScript(printing(folder) + ending);
    QCOMPARE(locateInstallation(), QString());
    QCOMPARE(locate.arguments().size(), 1);
}

void InstallationTest::missingToolGivesNothing()
{
    StandInLocate locate({});
    locate.setMissing();
    QCOMPARE(locateInstallation(), QString());
}

void InstallationTest::toolThatAsksIsNotWaitedFor()
{
    const QString folder = makeSimulator("there"_s);
    StandInLocate locate({});
    locate.setScript("cat > /dev/null\n" + printing(folder));
    QCOMPARE(locateInstallation(), folder);
}

void InstallationTest::longListsAreReadWhole()
{
    // The output exceeds the buffer of a pipe, so it must be read while the tool runs.
    const QString folder = makeSimulator("last"_s);
    QStringList lines;
    for (int number = 0; number < 5000; ++number)
        lines.append("/stale/%1/X-Plane-x86_64"_s.arg(number));
    lines.append(folder + simulatorExecutable());
    const StandInLocate locate(lines);
    QCOMPARE(locateInstallation(), folder);
}

void InstallationTest::unwantedToolIsEnded()
{
    StandInLocate locate(QStringList{});
    locate.setScript("exec sleep 1000\n");
    const auto hasBegun = [&locate] { return !locate.arguments().isEmpty(); };
    QCOMPARE(locateInstallation(hasBegun), QString());
}

KAVO_TEST_MAIN(InstallationTest)
#include "InstallationTest.moc"

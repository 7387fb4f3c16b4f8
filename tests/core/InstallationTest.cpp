#include "core/Installation.h"
#include "tests/support/Archives.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

namespace {

/// Shell text that prints the path of the simulator's executable in the folder.
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
    void init();
    void cleanup();

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
    /// A folder of this name with the simulator's executable; returned with a separator.
    QString makeSimulator(const QString &name) const;

    QScopedPointer<ScratchProfile> m_profile;
};

void InstallationTest::init()
{
    m_profile.reset(new ScratchProfile);
}

void InstallationTest::cleanup()
{
    m_profile.reset();
}

QString InstallationTest::makeSimulator(const QString &name) const
{
    const QString folder = m_profile->folder(name);
    return writeFile(folder + simulatorExecutable(), "x") ? folder : QString();
}

void InstallationTest::firstListedExecutableWins()
{
    const QString first = makeSimulator(QStringLiteral("first"));
    const QString second = makeSimulator(QStringLiteral("second"));
    const StandInLocate locate({first + simulatorExecutable(), second + simulatorExecutable()});
    QCOMPARE(locateInstallation(), first);
}

void InstallationTest::folderWithAnExecutableHoldsASimulator_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("holds");
    QTest::newRow("Linux") << QStringLiteral("X-Plane-x86_64") << true;
    QTest::newRow("Windows") << QStringLiteral("X-Plane.exe") << true;
    QTest::newRow("inFolderBelow") << QStringLiteral("below/X-Plane-x86_64") << false;
    QTest::newRow("otherName") << QStringLiteral("X-Plane-x86_64.bak") << false;
}

void InstallationTest::folderWithAnExecutableHoldsASimulator()
{
    QFETCH(QString, file);
    QFETCH(bool, holds);
    const QString folder = m_profile->folder(QStringLiteral("folder"));
    QVERIFY(!holdsSimulator(folder));
    QVERIFY(writeFile(folder + file, "x"));
    QCOMPARE(holdsSimulator(folder), holds);
}

void InstallationTest::noFolderHoldsNoSimulator()
{
    // An empty path stands for no folder, not for the current one.
    const QString folder = makeSimulator(QStringLiteral("current"));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(folder));
    const bool holds = holdsSimulator(QString());
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(!holds);
    QVERIFY(!holdsSimulator(folder + QStringLiteral("missing/")));
}

// Fixed, see docs/compatibility.md.
void InstallationTest::toolIsAskedForTheExecutable()
{
    const StandInLocate locate({});
    QCOMPARE(locateInstallation(), QString());
    QCOMPARE(locate.arguments(), QStringList(QStringLiteral("X-Plane-x86_64")));
}

void InstallationTest::linesThatAreNoExecutableAreSkipped()
{
    const QString good = makeSimulator(QStringLiteral("good"));
    const QString folder = m_profile->folder(QStringLiteral("folder/X-Plane-x86_64"));
    const QString copy =
        m_profile->folder(QStringLiteral("copy")) + QStringLiteral("X-Plane-x86_64.bak");
    const QString lower =
        m_profile->folder(QStringLiteral("lower")) + QStringLiteral("x-plane-X86_64");
    QVERIFY(writeFile(copy, "x") && writeFile(lower, "x"));
    const StandInLocate locate({QStringLiteral("/stale/X-Plane-x86_64"), folder.chopped(1), copy,
                                lower, QString(), good + simulatorExecutable()});
    QCOMPARE(locateInstallation(), good);
}

void InstallationTest::onlyUnusableLinesGiveNothing()
{
    const StandInLocate locate({QStringLiteral("/stale/X-Plane-x86_64")});
    QCOMPARE(locateInstallation(), QString());
}

void InstallationTest::namesMayHaveBlanksAndUmlauts()
{
    const QString folder = makeSimulator(QString::fromUtf8("Fl\u00fcge \u2708 12"));
    const StandInLocate locate({folder + simulatorExecutable()});
    QCOMPARE(locateInstallation(), folder);
}

void InstallationTest::failureGivesNothing_data()
{
    QTest::addColumn<QByteArray>("ending");
    QTest::newRow("no match") << QByteArray("exit 1\n");
    QTest::newRow("killed") << QByteArray("kill -9 $$\n");
}

void InstallationTest::failureGivesNothing()
{
    QFETCH(QByteArray, ending);
    const QString folder = makeSimulator(QStringLiteral("there"));
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
    const QString folder = makeSimulator(QStringLiteral("there"));
    StandInLocate locate({});
    locate.setScript("cat > /dev/null\n" + printing(folder));
    QCOMPARE(locateInstallation(), folder);
}

void InstallationTest::longListsAreReadWhole()
{
    // More than a pipe holds, so that reading has to keep up with the tool.
    const QString folder = makeSimulator(QStringLiteral("last"));
    QStringList lines;
    for (int number = 0; number < 5000; ++number)
        lines.append(QStringLiteral("/stale/%1/X-Plane-x86_64").arg(number));
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

#include "app/PlatformGuard.h"
#include "tests/app/StoredSettings.h"
#include "tests/support/Archives.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QProcess>

using namespace Kavo::Testing;

namespace {

using Variables = QMap<QString, QString>;

/// Without what tells Qt of a display, but for these variables.
QProcessEnvironment environmentWith(const Variables &variables)
{
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "WAYLAND_SOCKET", "XDG_SESSION_TYPE",
                             "XDG_CURRENT_DESKTOP", "XDG_SESSION_DESKTOP", "QT_QPA_PLATFORM"})
        environment.remove(QLatin1String(name));
    for (auto variable = variables.begin(); variable != variables.end(); ++variable)
        environment.insert(variable.key(), variable.value());
    return environment;
}

} // namespace

/// Starts the program itself where Qt finds a platform to draw on and where it does not.
class NoDisplayTest final : public QObject
{
    Q_OBJECT

private slots:
    void programSaysWhatIsMissing_data();
    void programSaysWhatIsMissing();
    void programStartsWhereQtFindsAPlatform_data();
    void programStartsWhereQtFindsAPlatform();

private:
    static void start(QProcess &process);
};

void NoDisplayTest::start(QProcess &process)
{
    QFETCH(Variables, variables);
    QFETCH(QStringList, arguments);
    process.setProcessEnvironment(environmentWith(variables));
    process.start(QStringLiteral(KAVO_PROGRAM), arguments);
}

void NoDisplayTest::programSaysWhatIsMissing_data()
{
    QTest::addColumn<Variables>("variables");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("reason");

    const QString platform = "QT_QPA_PLATFORM"_s;
    const QString display = "DISPLAY"_s;
    const QString nobody = ":4242"_s;
    QTest::newRow("nothing set") << Variables() << QStringList() << "DISPLAY is not set"_s;
    QTest::newRow("nobody there") << Variables{{display, nobody}} << QStringList() << nobody;
    QTest::newRow("unknown platform") << Variables{{platform, "unheard-of"_s}, {display, nobody}}
                                      << QStringList() << "\"unheard-of\""_s;
    QTest::newRow("unknown platform as an option")
        << Variables{{platform, "offscreen"_s}} << QStringList{"-platform"_s, "unheard-of"_s}
        << "\"unheard-of\""_s;
    QTest::newRow("none of two") << Variables{{platform, "unheard-of;xcb"_s}, {display, nobody}}
                                 << QStringList() << nobody;
    QTest::newRow("only a Wayland that is gone")
        << Variables{{"WAYLAND_DISPLAY"_s, "gone"_s},
                     {"XDG_RUNTIME_DIR"_s, QDir::tempPath()},
                     {"XDG_SESSION_TYPE"_s, "wayland"_s}}
        << QStringList() << QString();
}

void NoDisplayTest::programSaysWhatIsMissing()
{
    QFETCH(QString, reason);
    const ScratchProfile profile;
    QProcess process;
    start(process);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), Kavo::PlatformGuard::ExitStatus);
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
    const QByteArray said = process.readAllStandardError();
    QVERIFY2(said.startsWith("kavo-suite: there is no display to show the window on: "),
             said.constData());
    QVERIFY2(said.contains(reason.toUtf8()), said.constData());
    QVERIFY2(!said.contains("einstall") && !said.contains("even though"), said.constData());
    QCOMPARE(said.count('\n'), 1);
    QVERIFY(said.endsWith('\n'));
    QVERIFY(!QFile::exists(profile.logFile()));
}

void NoDisplayTest::programStartsWhereQtFindsAPlatform_data()
{
    QTest::addColumn<Variables>("variables");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("warning");

    const QString platform = "QT_QPA_PLATFORM"_s;
    const QString option = "-platform"_s;
    for (const char *name : {"offscreen", "minimal"}) {
        const QString value = QLatin1String(name);
        QTest::addRow("%s", name) << Variables{{platform, value}} << QStringList() << QString();
        QTest::addRow("%s as an option", name)
            << Variables() << QStringList{option, value} << QString();
    }
    // What Qt says of the first one is not lost.
    QTest::newRow("the second of two")
        << Variables{{platform, "unheard-of;offscreen"_s}} << QStringList()
        << "qt.qpa.plugin: Could not find the Qt platform plugin \"unheard-of\""_s;
}

void NoDisplayTest::programStartsWhereQtFindsAPlatform()
{
    QFETCH(QString, warning);
    const ScratchProfile profile;
    settle(profile);
    store(profile, "LocalRepo", "true"_s);
    QProcess process;
    start(process);
    QTRY_VERIFY(readFile(profile.logFile()).contains("Loading settings from : ") ||
                process.state() == QProcess::NotRunning);
    QCOMPARE(process.state(), QProcess::Running);
    process.kill();
    QVERIFY(process.waitForFinished());
    const QByteArray said = process.readAllStandardError();
    QVERIFY2(said.contains(warning.toUtf8()), said.constData());
    QVERIFY2(!said.contains("no display"), said.constData());
}

KAVO_TEST_MAIN(NoDisplayTest)
#include "NoDisplayTest.moc"

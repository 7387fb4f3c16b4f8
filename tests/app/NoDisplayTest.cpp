#include "app/PlatformGuard.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

#include <QProcess>
#include <QSettings>

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

    const QString platform = QStringLiteral("QT_QPA_PLATFORM");
    const QString display = QStringLiteral("DISPLAY");
    const QString nobody = QStringLiteral(":4242");
    QTest::newRow("nothing set") << Variables() << QStringList()
                                 << QStringLiteral("DISPLAY is not set");
    QTest::newRow("nobody there") << Variables{{display, nobody}} << QStringList() << nobody;
    QTest::newRow("unknown platform")
        << Variables{{platform, QStringLiteral("unheard-of")}, {display, nobody}} << QStringList()
        << QStringLiteral("\"unheard-of\"");
    QTest::newRow("unknown platform as an option")
        << Variables{{platform, QStringLiteral("offscreen")}}
        << QStringList{QStringLiteral("-platform"), QStringLiteral("unheard-of")}
        << QStringLiteral("\"unheard-of\"");
    QTest::newRow("none of two") << Variables{{platform, QStringLiteral("unheard-of;xcb")},
                                              {display, nobody}}
                                 << QStringList() << nobody;
    QTest::newRow("only a Wayland that is gone")
        << Variables{{QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("gone")},
                     {QStringLiteral("XDG_RUNTIME_DIR"), QDir::tempPath()},
                     {QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("wayland")}}
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

    const QString platform = QStringLiteral("QT_QPA_PLATFORM");
    const QString option = QStringLiteral("-platform");
    for (const char *name : {"offscreen", "minimal"}) {
        const QString value = QLatin1String(name);
        QTest::addRow("%s", name) << Variables{{platform, value}} << QStringList() << QString();
        QTest::addRow("%s as an option", name)
            << Variables() << QStringList{option, value} << QString();
    }
    // What Qt says of the first one is not lost.
    QTest::newRow("the second of two")
        << Variables{{platform, QStringLiteral("unheard-of;offscreen")}} << QStringList()
        << QStringLiteral("qt.qpa.plugin: Could not find the Qt platform plugin \"unheard-of\"");
}

void NoDisplayTest::programStartsWhereQtFindsAPlatform()
{
    QFETCH(QString, warning);
    const ScratchProfile profile;
    {
        QSettings settings(profile.settingsFile(), QSettings::IniFormat);
        settings.setValue(QStringLiteral("Installation"), profile.simulatorFolder());
        settings.setValue(QStringLiteral("LocalRepo"), QStringLiteral("true"));
    }
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

#include "app/PlatformGuard.h"
#include "tests/app/StoredSettings.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QProcess>

using namespace Kavo::Testing;

namespace {

using Variables = QMap<QString, QString>;

/// The environment without the variables by which Qt finds a display, plus the given variables.
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

/// Starts the real program in environments with and without a platform that Qt can use.
class NoDisplayTest final : public QObject
{
    Q_OBJECT

private slots:
    void programReportsAMissingDisplay_data()
    {
        const QString platform = "QT_QPA_PLATFORM"_s;
        const QString display = "DISPLAY"_s;
        const QString nobody = ":4242"_s;
        Rows<Variables, QStringList, QString>()
            .row("nothing set", Variables(), QStringList(), "DISPLAY is not set")
            .row("no server at this display", Variables{{display, nobody}}, QStringList(), nobody)
            .row("unknown platform", Variables{{platform, "unheard-of"_s}, {display, nobody}},
                 QStringList(), "\"unheard-of\"")
            .row("unknown platform as an option", Variables{{platform, "offscreen"_s}},
                 QStringList{"-platform"_s, "unheard-of"_s}, "\"unheard-of\"")
            .row("neither of two platforms",
                 Variables{{platform, "unheard-of;xcb"_s}, {display, nobody}}, QStringList(),
                 nobody)
            .row("only a missing Wayland socket",
                 Variables{{"WAYLAND_DISPLAY"_s, "gone"_s},
                           {"XDG_RUNTIME_DIR"_s, QDir::tempPath()},
                           {"XDG_SESSION_TYPE"_s, "wayland"_s}},
                 QStringList(), "");
    }

    void programReportsAMissingDisplay()
    {
        const auto [variables, arguments, reason] =
            Rows<Variables, QStringList, QString>::current();
        const ScratchProfile profile;
        QProcess process;
        start(process, variables, arguments);
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

    void programStartsWhereQtFindsAPlatform_data()
    {
        Rows<Variables, QStringList, QString> rows;

        const QString platform = "QT_QPA_PLATFORM"_s;
        const QString option = "-platform"_s;
        for (const char *name : {"offscreen", "minimal"}) {
            const QString value = QLatin1String(name);
            rows.row(name, {{platform, value}}, {}, "")
                .row(name + QByteArray(" as an option"), {}, {option, value}, "");
        }
        // Qt's warning about the first platform is still printed.
        rows.row("the second of two", Variables{{platform, "unheard-of;offscreen"_s}},
                 QStringList(),
                 "qt.qpa.plugin: Could not find the Qt platform plugin \"unheard-of\"");
    }

    void programStartsWhereQtFindsAPlatform()
    {
        const auto [variables, arguments, warning] =
            Rows<Variables, QStringList, QString>::current();
        const ScratchProfile profile;
        settle(profile);
        store(profile, "LocalRepo", "true"_s);
        QProcess process;
        start(process, variables, arguments);
        QTRY_VERIFY(readFile(profile.logFile()).contains("Loading settings from : ") ||
                    process.state() == QProcess::NotRunning);
        QCOMPARE(process.state(), QProcess::Running);
        process.kill();
        QVERIFY(process.waitForFinished());
        const QByteArray said = process.readAllStandardError();
        QVERIFY2(said.contains(warning.toUtf8()), said.constData());
        QVERIFY2(!said.contains("no display"), said.constData());
    }

private:
    static void start(QProcess &process, const Variables &variables, const QStringList &arguments)
    {
        process.setProcessEnvironment(environmentWith(variables));
        process.start(QStringLiteral(KAVO_PROGRAM), arguments);
    }
};

KAVO_TEST_MAIN(NoDisplayTest)
#include "NoDisplayTest.moc"

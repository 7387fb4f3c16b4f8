#include "app/StartUp.h"
#include "components/IconFont.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "tests/app/StoredSettings.h"
#include "tests/components/QuitRequest.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/Rows.h"
#include "tests/support/RunUntil.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"
#include "ui/window/ApplicationWindow.h"

#include <QComboBox>
#include <QDir>
#include <QIcon>
#include <QProcess>
#include <QSplashScreen>

#include <csignal>
#include <memory>

using namespace Kavo::Testing;
using Kavo::StartUp;
using Kavo::Ui::ApplicationWindow;

namespace {

const QString Manual = "Manual-detecting X-Plane installation..."_s;

/// The messages of the splash screen, including those of the simulator's detection.
QStringList messagesWith(const QStringList &detection, bool succeeds = true)
{
    QStringList messages{"Starting..."_s, "Loading saved configuration..."_s,
                         "Setting up application language..."_s, "Loading fonts..."_s};
    messages += detection;
    if (succeeds)
        messages += {"Initializing..."_s, "Creating UI..."_s};
    return messages;
}

QStringList detectionMessages()
{
    QStringList messages;
    for (int number = 1; number <= 4; ++number)
        messages.append("Auto-detecting X-Plane installation...%1"_s.arg(number));
    return messages;
}

/// Expects the boxes that follow a search without a result, and chooses this folder.
void expectQuestion(MessageBoxAnswers &answers, const QString &folder)
{
    answers.expect("Auto-dectection failed"_s,
                   "Unable to determine XPlane installation path.\n\n"
                   "Please select the XPlane folder in the next dialog"_s,
                   QMessageBox::Ok);
    answers.expectFolder("Select the XPlane folder"_s, folder);
}

} // namespace

class StartUpTest final : public QObject
{
    Q_OBJECT

protected:
    /// Records the messages of the splash screen.
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *splash = qobject_cast<QSplashScreen *>(watched);
        if (splash && event->type() == QEvent::Show) {
            connect(splash, &QSplashScreen::messageChanged, this, [this](const QString &message) {
                if (!message.isEmpty())
                    m_messages.append(message);
            });
            if (m_whenSplashIsShown)
                m_whenSplashIsShown(*splash);
        }
        return QObject::eventFilter(watched, event);
    }

private slots:
    void init()
    {
        m_profile = std::make_unique<ScratchProfile>();
        settle(*m_profile);
        m_server = std::make_unique<TestHttpServer>();
        m_server->serve("/packages.json"_s, "[]");
        m_messages.clear();
        m_whenSplashIsShown = nullptr;
        m_handlerBefore = qInstallMessageHandler(nullptr);
        qInstallMessageHandler(m_handlerBefore);
        qApp->installEventFilter(this);
    }

    void cleanup()
    {
        qApp->removeEventFilter(this);
        qInstallMessageHandler(m_handlerBefore);
        qApp->setStyleSheet(QString());
        m_server.reset();
        m_profile.reset();
    }

    // Fixed, see docs/compatibility.md.
    void storedFolderIsTrusted()
    {
        const StandInLocate locate(QStringList{});
        store("Installation", "/gone/long/ago/"_s);
        const MessageBoxAnswers answers;
        QCOMPARE(run(), 0);
        QCOMPARE(m_messages, messagesWith({}));
        QVERIFY(answers.shown().isEmpty());
        QVERIFY(locate.arguments().isEmpty());
        QCOMPARE(stored("Installation"), "/gone/long/ago/"_s);
    }

    void locatedFolderIsStored()
    {
        forgetSettings();
        const StandInLocate locate({m_profile->simulatorFolder() + "X-Plane-x86_64"_s});
        const MessageBoxAnswers answers;
        QCOMPARE(run(), 0);
        QVERIFY(answers.shown().isEmpty());
        QCOMPARE(stored("Installation"), m_profile->simulatorFolder());
        // All four messages are shown, even if the search succeeds.
        QCOMPARE(m_messages, messagesWith(detectionMessages()));
    }

    void chosenFolderIsStored()
    {
        forgetSettings();
        const StandInLocate locate(QStringList{});
        MessageBoxAnswers answers;
        expectQuestion(answers, m_profile->simulatorFolder());
        QCOMPARE(run(), 0);
        QVERIFY(answers.allShown());
        QCOMPARE(stored("Installation"), m_profile->simulatorFolder());
        QCOMPARE(m_messages, messagesWith(detectionMessages() << Manual));
    }

    // Fixed, see docs/compatibility.md.
    void cancelledChoiceEndsTheProgram()
    {
        forgetSettings();
        const StandInLocate locate(QStringList{});
        MessageBoxAnswers answers;
        expectQuestion(answers, QString());
        answers.expect("Dectection failed"_s,
                       "Unable to determine XPlane installation path.\n\n"
                       "Application cannot continue further."_s,
                       QMessageBox::Ok);
        int status = 0;
        QVERIFY(quits([this, &status] { status = run(); }));
        QVERIFY(answers.allShown());
        QCOMPARE(status, 1);
        for (const auto &shown : answers.shown()) {
            QCOMPARE(shown.icon, QMessageBox::Information);
            QCOMPARE(shown.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
            QVERIFY(!shown.parent);
        }
        // The boxes have the style of the window.
        QVERIFY(qApp->styleSheet().contains("QMessageBox"_s));
        QCOMPARE(m_messages, messagesWith(detectionMessages() << Manual, false));
        QVERIFY(!QFile::exists(m_profile->settingsFile()));
        QVERIFY(m_server->requests().isEmpty());
        for (const QWidget *widget : QApplication::topLevelWidgets())
            QVERIFY(!qobject_cast<const QSplashScreen *>(widget));
    }

    void defaultsFillWhatIsMissing_data()
    {
        Rows<bool>().row("fresh account", false).row("empty values", true);
    }

    void defaultsFillWhatIsMissing()
    {
        const auto [isEmpty] = Rows<bool>::current();
        const QVector<QPair<const char *, QString>> defaults = {
            {"Language", "en"_s},
            {"ShowFilter", "false"_s},
            {"LocalRepo", "false"_s},
            {"Cache", m_profile->dataFolder() + "cache/"_s},
            {"Preserve", m_profile->dataFolder() + "preserve/"_s},
            {"Backup", m_profile->dataFolder() + "backup/"_s}};
        for (const auto &value : defaults) {
            if (isEmpty)
                store(value.first, QString());
        }
        const QString before = stored("Language");
        QString during;
        QCOMPARE(run([&](ApplicationWindow &) { during = stored("Language"); }), 0);
        // The file is written only when the program ends normally.
        QCOMPARE(during, before);
        for (const auto &value : defaults)
            QCOMPARE(stored(value.first), value.second);
    }

    void storedValuesAreNotReplaced()
    {
        store("ShowFilter", "TRUE"_s);
        store("Cache", m_profile->folder("my-cache"_s));
        QCOMPARE(run(), 0);
        QCOMPARE(stored("ShowFilter"), "TRUE"_s);
        QCOMPARE(stored("Cache"), m_profile->folder("my-cache"_s));
    }

    void splashIsDrawnForTheScreen()
    {
        const QSize natural = QPixmap(":/resources/img/splash.png"_s).size();
        qreal ratio = 0;
        QSize size;
        QPixmap picture;
        m_whenSplashIsShown = [&](const QSplashScreen &splash) {
            ratio = splash.devicePixelRatioF();
            size = splash.size();
            picture = splash.pixmap();
        };
        QCOMPARE(run(), 0);
        QCOMPARE(size, natural);
        QCOMPARE(picture.size(), natural * ratio);
        QCOMPARE(picture.devicePixelRatioF(), ratio);
    }

    void logNamesTheVersionAndTheSettings()
    {
        QVERIFY(writeFile(m_profile->logFile(), "The run before\n"));
        QByteArray log;
        m_whenSplashIsShown = [this, &log](const QSplashScreen &) {
            log = readFile(m_profile->logFile());
        };
        QCOMPARE(run(), 0);
        QVERIFY(!log.contains("The run before"));
        QVERIFY2(log.startsWith("Kavo Suite " KAVO_VERSION "\n"), log.constData());
        const auto lines =
            QString::fromUtf8(readFile(m_profile->logFile())).split(QLatin1Char('\n'));
        QVERIFY(lines.contains("Loading settings from : "_s + m_profile->settingsFile()));
    }

    void environmentIsPrepared()
    {
        QString folder;
        QString title;
        QFont font;
        QCOMPARE(run([&](ApplicationWindow &window) {
                     folder = QDir::currentPath();
                     title = window.windowTitle();
                     font = QApplication::font();
                 }),
                 0);
        QCOMPARE(QDir(folder), QDir(Kavo::applicationDirectory()));
        QCOMPARE(title, "Kavo Suite"_s);
        QCOMPARE(font.family(), "Proxima Nova Rg"_s);
        QCOMPARE(font.pointSize(), 10);
        KAVO_NEEDS_ICON_FONT();
        QCOMPARE(Kavo::Components::iconFont()->font(10).family(), "FontAwesome"_s);
    }

    void desktopKnowsTheProgram()
    {
        QGuiApplication::setDesktopFileName(QString());
        QGuiApplication::setWindowIcon(QIcon());
        QString splashEntry;
        m_whenSplashIsShown = [&splashEntry](const QSplashScreen &) {
            splashEntry = QGuiApplication::desktopFileName();
        };
        QImage icon;
        QCOMPARE(run([&icon](ApplicationWindow &window) {
                     icon = window.windowIcon().pixmap(256).toImage();
                 }),
                 0);
        // Every window gets the name when it is created, including the splash screen.
        QCOMPARE(splashEntry, QStringLiteral(KAVO_DESKTOP_ID));
        QVERIFY(
            QFile::exists(QStringLiteral(KAVO_PACKAGING_FOLDER "/%1.desktop").arg(splashEntry)));
        QVERIFY(!icon.isNull());
        QCOMPARE(icon, QPixmap(":/resources/img/icon.png"_s).toImage());
    }

    void exitStatusIsThatOfTheEventLoop()
    {
        QCOMPARE(run({}, 7), 7);
        QCOMPARE(stored("Language"), "en"_s);
    }

    void laterProgramRestoresTheWindow_data()
    {
        Rows<bool, bool>()
            .row("normal", false, false)
            .row("minimised", false, true)
            .row("minimised when it was maximised", true, true);
    }

    void laterProgramRestoresTheWindow()
    {
        const auto [maximised, minimised] = Rows<bool, bool>::current();
        int status = -1;
        Qt::WindowStates state;
        QCOMPARE(run([&, maximised = maximised, minimised = minimised](ApplicationWindow &window) {
                     restoreWindow(window);
                     if (maximised)
                         child<QPushButton>(window, "WindowMaximize")->click();
                     if (minimised)
                         child<QPushButton>(window, "WindowMinimize")->click();
                     QCOMPARE(window.isMinimized(), minimised);
                     status = startAgain();
                     state = window.windowState();
                     QVERIFY(window.isActiveWindow());
                 }),
                 0);
        QCOMPARE(status, 0);
        QVERIFY(!state.testFlag(Qt::WindowMinimized));
        QCOMPARE(state.testFlag(Qt::WindowMaximized), maximised);
    }

    void laterProgramEndsDuringTheSplashScreen()
    {
        int status = -1;
        m_whenSplashIsShown = [&status](const QSplashScreen &) { status = startAgain(); };
        QCOMPARE(run(), 0);
        QCOMPARE(status, 0);
    }

    void endDiscardsOpenEdits_data()
    {
        Rows<bool>().row("signal", true).row("end of the session", false);
    }

    void endDiscardsOpenEdits()
    {
        const auto [bySignal] = Rows<bool>::current();
        QString chosen;
        const auto edit = [&chosen, bySignal = bySignal] {
            auto *choice = child<QComboBox>(*QApplication::activeModalWidget(), "LanguageChoice");
            choice->setCurrentIndex(1 - choice->currentIndex());
            chosen = choice->currentText();
            if (bySignal)
                ::raise(SIGTERM);
            else
                QCoreApplication::quit();
        };
        QCOMPARE(run([&edit](ApplicationWindow &window) {
                     QTimer::singleShot(0, &window, edit);
                     for (QPushButton *button : allChildren<QPushButton>(window, "TopButton")) {
                         if (button->accessibleName() == "Settings"_s)
                             button->click();
                     }
                 }),
                 0);
        QCOMPARE(chosen, "German"_s);
        QCOMPARE(stored("Language"), "en"_s);
    }

private:
    void store(const char *key, const QString &value)
    {
        Kavo::Testing::store(*m_profile, key, value);
    }
    QString stored(const char *key) const { return Kavo::Testing::stored(*m_profile, key); }
    /// Makes the next start the first one on this account.
    void forgetSettings() { QVERIFY(QFile::remove(m_profile->settingsFile())); }
    /// Runs the program, calls `look` when its window is shown, and ends the program.
    int run(const std::function<void(ApplicationWindow &)> &look = {}, int status = 0)
    {
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            ApplicationWindow *window = shownWindow();
            if (!window)
                return;
            timer.stop();
            if (look)
                look(*window);
            restoreWindow(*window);
            if (status == 0)
                window->close();
            else
                QCoreApplication::exit(status);
        });
        timer.start(2);
        return StartUp(*qobject_cast<QApplication *>(qApp),
                       {m_server->url(QString()), "/usr/bin/7z"_s})
            .run();
    }
    /// The main window after the splash screen was hidden; null before that.
    static ApplicationWindow *shownWindow()
    {
        ApplicationWindow *shown = nullptr;
        const QWidgetList windows = QApplication::topLevelWidgets();
        for (QWidget *widget : windows) {
            if (!widget->isVisible())
                continue;
            if (qobject_cast<QSplashScreen *>(widget))
                return nullptr;
            if (auto *window = qobject_cast<ApplicationWindow *>(widget))
                shown = window;
        }
        return shown;
    }
    /// Starts the program again on the profile and returns its exit status, or -1 if it does not
    /// end normally.
    static int startAgain()
    {
        constexpr int Patience = 30000;
        QProcess later;
        later.start(QStringLiteral(KAVO_PROGRAM), QStringList());
        const bool ended =
            runUntil([&later] { return later.state() == QProcess::NotRunning; }, Patience);
        return ended && later.exitStatus() == QProcess::NormalExit ? later.exitCode() : -1;
    }

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QtMessageHandler m_handlerBefore = nullptr;
    QStringList m_messages;
    std::function<void(const QSplashScreen &)> m_whenSplashIsShown;
};

KAVO_TEST_MAIN(StartUpTest)
#include "StartUpTest.moc"

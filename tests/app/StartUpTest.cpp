#include "app/StartUp.h"
#include "components/IconFont.h"
#include "core/Paths.h"
#include "core/Settings.h"
#include "tests/components/QuitRequest.h"
#include "tests/components/Widgets.h"
#include "tests/support/Archives.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/RunUntil.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"
#include "ui/window/ApplicationWindow.h"

#include <QComboBox>
#include <QDir>
#include <QIcon>
#include <QProcess>
#include <QSettings>
#include <QSplashScreen>

#include <csignal>
#include <memory>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::StartUp;
using Kavo::Ui::ApplicationWindow;

namespace {

const QString AutoFailedTitle = QStringLiteral("Auto-dectection failed");
const QString AutoFailedText =
    QStringLiteral("Unable to determine XPlane installation path.\n\nPlease select the XPlane "
                   "folder in the next dialog");
const QString FailedTitle = QStringLiteral("Dectection failed");
const QString FailedText = QStringLiteral(
    "Unable to determine XPlane installation path.\n\nApplication cannot continue further.");
const QString FolderCaption = QStringLiteral("Select the XPlane folder");

/// What the splash screen says to the settled folder, without the detection.
QStringList messagesAround(const QStringList &detection)
{
    return QStringList{QStringLiteral("Starting..."),
                       QStringLiteral("Loading saved configuration..."),
                       QStringLiteral("Setting up application language..."),
                       QStringLiteral("Loading fonts...")} +
           detection;
}

QStringList detectionMessages()
{
    QStringList messages;
    for (const char *number : {"1", "2", "3", "4"})
        messages.append(QStringLiteral("Auto-detecting X-Plane installation...") +
                        QLatin1String(number));
    return messages;
}

} // namespace

class StartUpTest final : public QObject
{
    Q_OBJECT

protected:
    /// Follows what the splash screen says from the moment it is shown.
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void init();
    void cleanup();

    void storedFolderIsTrusted();
    void locatedFolderIsStored();
    void fourthMessageIsShownAfterASuccess();
    void chosenFolderIsStored();
    void cancelledChoiceEndsTheProgram();
    void freshAccountGetsItsDefaults();
    void storedValuesAreNotReplaced();
    void emptyValuesAreReplaced();
    void splashIsDrawnForTheScreen();
    void logBehindTheSplashScreenBeginsWithTheVersion();
    void settingsFileIsNamedInTheLog();
    void environmentIsPrepared();
    void desktopKnowsTheProgram();
    void exitStatusIsThatOfTheEventLoop();
    void laterProgramBringsTheWindowBack_data();
    void laterProgramBringsTheWindowBack();
    void laterProgramBringsTheSplashScreenForward();
    void endDropsOpenEdits_data();
    void endDropsOpenEdits();

private:
    void store(const char *key, const QString &value);
    QString stored(const char *key) const;
    /// Runs the program until its window is shown, looks at it and ends it.
    int run(const std::function<void(ApplicationWindow &)> &look = {}, int status = 0);
    static ApplicationWindow *shownWindow();
    /// Starts the program once more on the profile and returns the status with which it ends.
    static int startAgain();

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QtMessageHandler m_handlerBefore = nullptr;
    QStringList m_messages;
    std::function<void(const QSplashScreen &)> m_whenSplashIsShown;
};

bool StartUpTest::eventFilter(QObject *watched, QEvent *event)
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

void StartUpTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_server = std::make_unique<TestHttpServer>();
    m_server->serve(QStringLiteral("/packages.json"), "[]");
    m_messages.clear();
    m_whenSplashIsShown = nullptr;
    m_handlerBefore = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(m_handlerBefore);
    qApp->installEventFilter(this);
}

void StartUpTest::cleanup()
{
    qApp->removeEventFilter(this);
    qInstallMessageHandler(m_handlerBefore);
    qApp->setStyleSheet(QString());
    m_server.reset();
    m_profile.reset();
}

void StartUpTest::store(const char *key, const QString &value)
{
    QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
    file.setValue(QLatin1String(key), value);
}

QString StartUpTest::stored(const char *key) const
{
    const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
    return file.value(QLatin1String(key), QStringLiteral("(missing)")).toString();
}

int StartUpTest::run(const std::function<void(ApplicationWindow &)> &look, int status)
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
                   {m_server->url(QString()), QStringLiteral("/usr/bin/7z")})
        .run();
}

/// The main window, once the splash screen has made way for it and the loop runs.
ApplicationWindow *StartUpTest::shownWindow()
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

int StartUpTest::startAgain()
{
    constexpr int Patience = 30000;
    QProcess later;
    later.start(QStringLiteral(KAVO_PROGRAM), QStringList());
    const bool ended =
        runUntil([&later] { return later.state() == QProcess::NotRunning; }, Patience);
    return ended && later.exitStatus() == QProcess::NormalExit ? later.exitCode() : -1;
}

// Fixed, see docs/compatibility.md.
void StartUpTest::storedFolderIsTrusted()
{
    const StandInLocate locate(QStringList{});
    store("Installation", QStringLiteral("/gone/long/ago/"));
    const MessageBoxAnswers answers;
    QCOMPARE(run(), 0);
    QCOMPARE(m_messages,
             messagesAround({QStringLiteral("Initializing..."), QStringLiteral("Creating UI...")}));
    QVERIFY(answers.shown().isEmpty());
    QVERIFY(locate.arguments().isEmpty());
    QCOMPARE(stored("Installation"), QStringLiteral("/gone/long/ago/"));
}

void StartUpTest::locatedFolderIsStored()
{
    const StandInLocate locate({m_profile->simulatorFolder() + QStringLiteral("X-Plane-x86_64")});
    const MessageBoxAnswers answers;
    QCOMPARE(run(), 0);
    QVERIFY(answers.shown().isEmpty());
    QCOMPARE(stored("Installation"), m_profile->simulatorFolder());
}

// Fixed, see docs/compatibility.md.
void StartUpTest::fourthMessageIsShownAfterASuccess()
{
    const StandInLocate locate({m_profile->simulatorFolder() + QStringLiteral("X-Plane-x86_64")});
    QCOMPARE(run(), 0);
    QCOMPARE(m_messages, messagesAround(detectionMessages() << QStringLiteral("Initializing...")
                                                            << QStringLiteral("Creating UI...")));
}

void StartUpTest::chosenFolderIsStored()
{
    const StandInLocate locate(QStringList{});
    MessageBoxAnswers answers;
    answers.expect(AutoFailedTitle, AutoFailedText, QMessageBox::Ok);
    answers.expectFolder(FolderCaption, m_profile->simulatorFolder());
    QCOMPARE(run(), 0);
    QVERIFY(answers.allShown());
    QCOMPARE(stored("Installation"), m_profile->simulatorFolder());
    QVERIFY(m_messages.contains(QStringLiteral("Manual-detecting X-Plane installation...")));
}

// Fixed, see docs/compatibility.md.
void StartUpTest::cancelledChoiceEndsTheProgram()
{
    const StandInLocate locate(QStringList{});
    MessageBoxAnswers answers;
    answers.expect(AutoFailedTitle, AutoFailedText, QMessageBox::Ok);
    answers.expectFolder(FolderCaption, QString());
    answers.expect(FailedTitle, FailedText, QMessageBox::Ok);
    int status = 0;
    QVERIFY(quits([this, &status] { status = run(); }));
    QVERIFY(answers.allShown());
    QCOMPARE(status, 1);
    for (const auto &shown : answers.shown()) {
        QCOMPARE(shown.icon, QMessageBox::Information);
        QCOMPARE(shown.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QVERIFY(!shown.parent);
    }
    // The boxes look like the window that never came.
    QVERIFY(qApp->styleSheet().contains(QLatin1String("QMessageBox")));
    QCOMPARE(m_messages, messagesAround(detectionMessages() << QStringLiteral(
                                            "Manual-detecting X-Plane installation...")));
    QVERIFY(!QFile::exists(m_profile->settingsFile()));
    QVERIFY(m_server->requests().isEmpty());
    for (const QWidget *widget : QApplication::topLevelWidgets())
        QVERIFY(!qobject_cast<const QSplashScreen *>(widget));
}

void StartUpTest::freshAccountGetsItsDefaults()
{
    const StandInLocate locate({m_profile->simulatorFolder() + QStringLiteral("X-Plane-x86_64")});
    bool written = true;
    QCOMPARE(run([this, &written](ApplicationWindow &) {
                 written = QFile::exists(m_profile->settingsFile());
             }),
             0);
    // Only a normal end brings them into the file.
    QVERIFY(!written);
    QCOMPARE(stored("Language"), QStringLiteral("en"));
    QCOMPARE(stored("ShowFilter"), QStringLiteral("false"));
    QCOMPARE(stored("LocalRepo"), QStringLiteral("false"));
    QCOMPARE(stored("Cache"), m_profile->dataFolder() + QStringLiteral("cache/"));
    QCOMPARE(stored("Preserve"), m_profile->dataFolder() + QStringLiteral("preserve/"));
    QCOMPARE(stored("Backup"), m_profile->dataFolder() + QStringLiteral("backup/"));
}

void StartUpTest::storedValuesAreNotReplaced()
{
    store("Installation", m_profile->simulatorFolder());
    store("ShowFilter", QStringLiteral("TRUE"));
    store("Cache", m_profile->folder(QStringLiteral("my-cache")));
    QCOMPARE(run(), 0);
    QCOMPARE(stored("ShowFilter"), QStringLiteral("TRUE"));
    QCOMPARE(stored("Cache"), m_profile->folder(QStringLiteral("my-cache")));
}

void StartUpTest::emptyValuesAreReplaced()
{
    store("Installation", m_profile->simulatorFolder());
    for (const char *key : {"Language", "Cache", "Preserve", "Backup", "ShowFilter", "LocalRepo"})
        store(key, QString());
    QCOMPARE(run(), 0);
    QCOMPARE(stored("Language"), QStringLiteral("en"));
    QCOMPARE(stored("Cache"), m_profile->dataFolder() + QStringLiteral("cache/"));
    QCOMPARE(stored("ShowFilter"), QStringLiteral("false"));
}

void StartUpTest::splashIsDrawnForTheScreen()
{
    store("Installation", m_profile->simulatorFolder());
    const QSize natural = QPixmap(QStringLiteral(":/resources/img/splash.png")).size();
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

void StartUpTest::logBehindTheSplashScreenBeginsWithTheVersion()
{
    store("Installation", m_profile->simulatorFolder());
    QVERIFY(writeFile(m_profile->logFile(), "The run before\n"));
    QByteArray log;
    m_whenSplashIsShown = [this, &log](const QSplashScreen &) {
        log = readFile(m_profile->logFile());
    };
    QCOMPARE(run(), 0);
    QVERIFY(!log.contains("The run before"));
    QVERIFY2(log.startsWith("Kavo Suite " KAVO_VERSION "\n"), log.constData());
}

void StartUpTest::settingsFileIsNamedInTheLog()
{
    store("Installation", m_profile->simulatorFolder());
    QCOMPARE(run(), 0);
    const QString line = QStringLiteral("Loading settings from : ") + m_profile->settingsFile();
    QVERIFY(
        QString::fromUtf8(readFile(m_profile->logFile())).split(QLatin1Char('\n')).contains(line));
}

void StartUpTest::environmentIsPrepared()
{
    store("Installation", m_profile->simulatorFolder());
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
    QCOMPARE(title, QStringLiteral("Kavo Suite"));
    QCOMPARE(font.family(), QStringLiteral("Proxima Nova Rg"));
    QCOMPARE(font.pointSize(), 10);
    KAVO_NEEDS_ICON_FONT();
    QCOMPARE(Kavo::Components::iconFont()->font(10).family(), QStringLiteral("FontAwesome"));
}

void StartUpTest::desktopKnowsTheProgram()
{
    store("Installation", m_profile->simulatorFolder());
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
    // A window takes the name along when it is made, the first one too.
    QCOMPARE(splashEntry, QStringLiteral(KAVO_DESKTOP_ID));
    QVERIFY(QFile::exists(QStringLiteral(KAVO_PACKAGING_FOLDER "/%1.desktop").arg(splashEntry)));
    QVERIFY(!icon.isNull());
    QCOMPARE(icon, QPixmap(QStringLiteral(":/resources/img/icon.png")).toImage());
}

void StartUpTest::exitStatusIsThatOfTheEventLoop()
{
    store("Installation", m_profile->simulatorFolder());
    QCOMPARE(run({}, 7), 7);
    QCOMPARE(stored("Language"), QStringLiteral("en"));
}

void StartUpTest::laterProgramBringsTheWindowBack_data()
{
    QTest::addColumn<bool>("maximised");
    QTest::addColumn<bool>("minimised");
    QTest::newRow("normal") << false << false;
    QTest::newRow("minimised") << false << true;
    QTest::newRow("minimised when it was maximised") << true << true;
}

void StartUpTest::laterProgramBringsTheWindowBack()
{
    QFETCH(bool, maximised);
    QFETCH(bool, minimised);
    store("Installation", m_profile->simulatorFolder());
    int status = -1;
    Qt::WindowStates state;
    QCOMPARE(run([&](ApplicationWindow &window) {
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

void StartUpTest::laterProgramBringsTheSplashScreenForward()
{
    store("Installation", m_profile->simulatorFolder());
    int status = -1;
    m_whenSplashIsShown = [&status](const QSplashScreen &) { status = startAgain(); };
    QCOMPARE(run(), 0);
    QCOMPARE(status, 0);
}

void StartUpTest::endDropsOpenEdits_data()
{
    QTest::addColumn<bool>("bySignal");
    QTest::newRow("signal") << true;
    QTest::newRow("end of the session") << false;
}

void StartUpTest::endDropsOpenEdits()
{
    QFETCH(bool, bySignal);
    store("Installation", m_profile->simulatorFolder());
    QString chosen;
    const auto edit = [&chosen, bySignal] {
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
                     if (button->accessibleName() == QLatin1String("Settings"))
                         button->click();
                 }
             }),
             0);
    QCOMPARE(chosen, QStringLiteral("German"));
    QCOMPARE(stored("Language"), QStringLiteral("en"));
}

KAVO_TEST_MAIN(StartUpTest)
#include "StartUpTest.moc"

#include "app/Assembly.h"
#include "app/EndSignals.h"
#include "app/SplashMessage.h"
#include "components/WindowControl.h"
#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"
#include "ui/window/ApplicationWindow.h"

#include <QMetaType>
#include <QPainter>
#include <QPixmap>
#include <QScreen>
#include <QSignalSpy>
#include <QSplashScreen>
#include <QTimer>

#include <functional>
#include <memory>

using namespace Kavo::Testing;
using Kavo::Assembly;
using Kavo::Settings;
using Kavo::Components::WindowControl;
using Kavo::Ui::ApplicationWindow;

namespace {

/// No status of any other end.
constexpr int StillRunning = 99;

/// What the window button does next outlives the window, but a program has one window only.
void forgetMaximised()
{
    const WindowControl control;
    QSignalSpy maximized(&control, &WindowControl::maximize);
    auto *button = child<QPushButton>(control, "WindowMaximize");
    button->click();
    if (!maximized.isEmpty())
        button->click();
}

ApplicationWindow *shownWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *widget : windows) {
        auto *window = qobject_cast<ApplicationWindow *>(widget);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

} // namespace

class AssemblyTest final : public QObject
{
    Q_OBJECT

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void init();
    void cleanup();

    void splashScreenGoesWithTheWindowOnly();
    void stepsAreTold();
    void messagesAreWhiteAtTheBottom();
    void stateIsRegisteredByItsQualifiedName();
    void pendingSettingsAreWrittenAtTheEnd();
    void exitStatusIsThatOfTheEventLoop();
    void everythingIsDestroyedAtTheEnd();

    void windowClosedBehindTheSplashScreenEndsTheProgram();
    void programToldToEndBehindTheSplashScreenEnds();
    void windowTooLargeForTheScreenIsMaximised();
    void windowThatFitsIsNotMaximised();

private:
    /// Runs the assembly until the window is shown, looks at it and ends with this status.
    int run(int status = 0, const std::function<void(ApplicationWindow &)> &look = {});
    /// Runs the assembly, does this while the splash screen waits for the window, and expects that
    /// the program ends then. StillRunning when it does not.
    int runBehindSplash(const std::function<void(ApplicationWindow &)> &act);
    int assemble();

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QSharedPointer<Settings> m_settings;
    std::unique_ptr<QSplashScreen> m_splash;
    QStringList m_messages;
    bool m_windowWasShown = false;
    bool m_windowBeforeSplashWent = false;
    bool m_splashWent = false;
    std::function<void(ApplicationWindow &)> m_behindSplash;
};

bool AssemblyTest::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && qobject_cast<ApplicationWindow *>(watched))
        m_windowWasShown = true;
    if (event->type() == QEvent::Hide && watched == m_splash.get()) {
        m_splashWent = true;
        m_windowBeforeSplashWent = m_windowWasShown;
        if (m_behindSplash)
            m_behindSplash(*shownWindow());
    }
    return QObject::eventFilter(watched, event);
}

void AssemblyTest::init()
{
    forgetMaximised();
    m_profile = std::make_unique<ScratchProfile>();
    m_server = std::make_unique<TestHttpServer>();
    m_server->serve("/packages.json"_s, "[]");
    m_settings = m_profile->makeSettings();
    m_splash = std::make_unique<QSplashScreen>(QPixmap(300, 200));
    m_messages.clear();
    m_windowWasShown = false;
    m_windowBeforeSplashWent = false;
    m_splashWent = false;
    m_behindSplash = {};
    connect(m_splash.get(), &QSplashScreen::messageChanged, this,
            [this](const QString &message) { m_messages.append(message); });
    m_splash->show();
    qApp->installEventFilter(this);
}

void AssemblyTest::cleanup()
{
    qApp->removeEventFilter(this);
    qApp->setStyleSheet(QString());
    m_splash.reset();
    m_settings.reset();
    m_server.reset();
    m_profile.reset();
}

int AssemblyTest::run(int status, const std::function<void(ApplicationWindow &)> &look)
{
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &timer, status, look] {
        ApplicationWindow *window = shownWindow();
        // As long as the splash screen waits for the window, the loop has not begun.
        if (!window || m_splash->isVisible())
            return;
        timer.stop();
        if (look)
            look(*window);
        QCoreApplication::exit(status);
    });
    timer.start(2);
    return assemble();
}

int AssemblyTest::runBehindSplash(const std::function<void(ApplicationWindow &)> &act)
{
    QTimer late;
    m_behindSplash = [&late, act](ApplicationWindow &window) {
        act(window);
        late.start(1000);
    };
    connect(&late, &QTimer::timeout, this, [] { QCoreApplication::exit(StillRunning); });
    return assemble();
}

int AssemblyTest::assemble()
{
    const Kavo::EndSignals endSignals;
    return Assembly(*qobject_cast<QApplication *>(qApp), *m_splash, m_settings, endSignals,
                    {m_server->url(QString()), "/usr/bin/7z"_s})
        .run();
}

void AssemblyTest::splashScreenGoesWithTheWindowOnly()
{
    run();
    QVERIFY(m_splashWent);
    QVERIFY(m_windowBeforeSplashWent);
    QVERIFY(!m_splash->isVisible());
}

void AssemblyTest::stepsAreTold()
{
    run();
    QCOMPARE(m_messages, QStringList({"Initializing..."_s, "Creating UI..."_s}));
}

// Fixed, see docs/compatibility.md.
void AssemblyTest::messagesAreWhiteAtTheBottom()
{
    QPixmap black(300, 200);
    black.fill(Qt::black);
    m_splash->setPixmap(black);
    Kavo::showSplashMessage(*m_splash, "HHHHHHHH"_s);
    const QImage image = m_splash->grab().toImage();
    int white = 0;
    QRect inked;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            white += color == QColor(Qt::white) ? 1 : 0;
            if (color != QColor(Qt::black))
                inked |= QRect(x, y, 1, 1);
        }
    }
    QVERIFY(white > 0);
    QVERIFY(qAbs(inked.center().x() - 150) <= 3);
    QVERIFY(inked.top() > 150);
}

// Fixed, see docs/compatibility.md.
void AssemblyTest::stateIsRegisteredByItsQualifiedName()
{
    run();
    QVERIFY(QMetaType::isRegistered(QMetaType::type("Kavo::Models::Package::State")));
}

void AssemblyTest::pendingSettingsAreWrittenAtTheEnd()
{
    m_settings->setPending(Settings::SHOW_FILTER, "never applied"_s);
    run();
    const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.allKeys().size(), 7);
    for (const Settings::Entry &entry : m_settings->pendingConfiguration())
        QCOMPARE(file.value(entry.key).toString(), entry.value);
    QCOMPARE(file.value("ShowFilter"_s).toString(), "never applied"_s);
}

void AssemblyTest::exitStatusIsThatOfTheEventLoop()
{
    QCOMPARE(run(5), 5);
}

void AssemblyTest::everythingIsDestroyedAtTheEnd()
{
    run();
    for (QWidget *widget : QApplication::topLevelWidgets())
        QVERIFY(!qobject_cast<ApplicationWindow *>(widget));
    // Nobody else holds the settings any more.
    const QWeakPointer<Settings> settings = m_settings;
    m_settings.reset();
    QVERIFY(settings.isNull());
}

void AssemblyTest::windowClosedBehindTheSplashScreenEndsTheProgram()
{
    QCOMPARE(runBehindSplash([](ApplicationWindow &window) { window.close(); }), 0);
    QVERIFY(m_splashWent);
    // An end like any other.
    const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.allKeys().size(), 7);
}

void AssemblyTest::programToldToEndBehindTheSplashScreenEnds()
{
    QCOMPARE(runBehindSplash([](ApplicationWindow &) { QCoreApplication::exit(5); }), 5);
    const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.allKeys().size(), 7);
}

void AssemblyTest::windowTooLargeForTheScreenIsMaximised()
{
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    if (screen.width() >= 1320 && screen.height() >= 800)
        QSKIP("The screen has room for the window");
    int maximised = 0;
    QString action;
    run(0, [&](ApplicationWindow &window) {
        maximised += window.isMaximized() ? 1 : 0;
        action = child<QPushButton>(window, "WindowMaximize")->accessibleName();
        // It has opened at its place, and that is where it goes back to.
        restoreWindow(window);
        QCOMPARE(window.size(), QSize(1320, 800));
        QCOMPARE(window.pos(), QPoint(screen.width() / 2 - 660, screen.height() / 2 - 400));
    });
    QCOMPARE(maximised, 1);
    QCOMPARE(action, "Restore"_s);
}

void AssemblyTest::windowThatFitsIsNotMaximised()
{
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    if (screen.width() < 1320 || screen.height() < 800)
        QSKIP("The screen has no room for the window");
    int normal = 0;
    QString action;
    run(0, [&](ApplicationWindow &window) {
        normal += window.isMaximized() ? 0 : 1;
        action = child<QPushButton>(window, "WindowMaximize")->accessibleName();
    });
    QCOMPARE(normal, 1);
    QCOMPARE(action, "Maximize"_s);
}

KAVO_TEST_MAIN(AssemblyTest)
#include "AssemblyTest.moc"

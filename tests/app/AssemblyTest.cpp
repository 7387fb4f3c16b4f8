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

/// An exit status that the program never returns.
constexpr int StillRunning = 99;

/// The state of the window button is global, because a program has only one window.
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
    bool eventFilter(QObject *watched, QEvent *event) override
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

private slots:
    void init()
    {
        forgetMaximised();
        m_profile = std::make_unique<ScratchProfile>();
        m_server = std::make_unique<TestHttpServer>();
        m_server->serve("/packages.json"_s, "[]");
        m_settings = m_profile->makeSettings();
        m_splash = std::make_unique<QSplashScreen>(QPixmap(300, 200));
        m_windowWasShown = false;
        m_windowBeforeSplashWent = false;
        m_splashWent = false;
        m_behindSplash = {};
        m_splash->show();
        qApp->installEventFilter(this);
    }

    void cleanup()
    {
        qApp->removeEventFilter(this);
        qApp->setStyleSheet(QString());
        m_splash.reset();
        m_settings.reset();
        m_server.reset();
        m_profile.reset();
    }

    void splashScreenIsHiddenAfterTheWindowIsShown()
    {
        run();
        QVERIFY(m_splashWent);
        QVERIFY(m_windowBeforeSplashWent);
        QVERIFY(!m_splash->isVisible());
    }

    // Fixed, see docs/compatibility.md.
    void messagesAreWhiteAtTheBottom()
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
    void stateIsRegisteredByItsQualifiedName()
    {
        run();
        QVERIFY(QMetaType::isRegistered(QMetaType::type("Kavo::Models::Package::State")));
    }

    void pendingSettingsAreWrittenAtTheEnd()
    {
        m_settings->setPending(Settings::SHOW_FILTER, "never applied"_s);
        run();
        const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
        QCOMPARE(file.allKeys().size(), int(m_settings->pendingConfiguration().size()));
        for (const Settings::Entry &entry : m_settings->pendingConfiguration())
            QCOMPARE(file.value(entry.key).toString(), entry.value);
        QCOMPARE(file.value("ShowFilter"_s).toString(), "never applied"_s);
    }

    void everythingIsDestroyedAtTheEnd()
    {
        run();
        for (QWidget *widget : QApplication::topLevelWidgets())
            QVERIFY(!qobject_cast<ApplicationWindow *>(widget));
        // This test holds the last reference to the settings.
        const QWeakPointer<Settings> settings = m_settings;
        m_settings.reset();
        QVERIFY(settings.isNull());
    }

    void windowClosedBehindTheSplashScreenEndsTheProgram()
    {
        QCOMPARE(runBehindSplash([](ApplicationWindow &window) { window.close(); }), 0);
        QVERIFY(m_splashWent);
        // The settings are saved as at a normal end.
        const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
        QCOMPARE(file.allKeys().size(), int(m_settings->pendingConfiguration().size()));
    }

    void exitBehindTheSplashScreenEndsTheProgram()
    {
        QCOMPARE(runBehindSplash([](ApplicationWindow &) { QCoreApplication::exit(5); }), 5);
        const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
        QCOMPARE(file.allKeys().size(), int(m_settings->pendingConfiguration().size()));
    }

    void windowTooLargeForTheScreenIsMaximised()
    {
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        if (screen.width() >= 1320 && screen.height() >= 800)
            QSKIP("The screen has room for the window");
        int maximised = 0;
        QString action;
        run([&](ApplicationWindow &window) {
            maximised += window.isMaximized() ? 1 : 0;
            action = child<QPushButton>(window, "WindowMaximize")->accessibleName();
            // The window returns to its initial place.
            restoreWindow(window);
            QCOMPARE(window.size(), QSize(1320, 800));
            QCOMPARE(window.pos(), QPoint(screen.width() / 2 - 660, screen.height() / 2 - 400));
        });
        QCOMPARE(maximised, 1);
        QCOMPARE(action, "Restore"_s);
    }

    void windowThatFitsIsNotMaximised()
    {
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        if (screen.width() < 1320 || screen.height() < 800)
            QSKIP("The screen has no room for the window");
        int normal = 0;
        QString action;
        run([&](ApplicationWindow &window) {
            normal += window.isMaximized() ? 0 : 1;
            action = child<QPushButton>(window, "WindowMaximize")->accessibleName();
        });
        QCOMPARE(normal, 1);
        QCOMPARE(action, "Maximize"_s);
    }

private:
    /// Runs the program, calls `look` when the window is shown, and exits.
    int run(const std::function<void(ApplicationWindow &)> &look = {})
    {
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [this, &timer, look] {
            ApplicationWindow *window = shownWindow();
            // The event loop starts after the splash screen is hidden.
            if (!window || m_splash->isVisible())
                return;
            timer.stop();
            if (look)
                look(*window);
            QCoreApplication::exit();
        });
        timer.start(2);
        return assemble();
    }
    /// Runs the program and calls `act`, which should end it, while the splash screen waits for the
    /// window. Returns the exit status, or StillRunning if the program does not end.
    int runBehindSplash(const std::function<void(ApplicationWindow &)> &act)
    {
        QTimer late;
        m_behindSplash = [&late, act](ApplicationWindow &window) {
            act(window);
            late.start(1000);
        };
        connect(&late, &QTimer::timeout, this, [] { QCoreApplication::exit(StillRunning); });
        return assemble();
    }
    int assemble()
    {
        const Kavo::EndSignals endSignals;
        return Assembly(*qobject_cast<QApplication *>(qApp), *m_splash, m_settings, endSignals,
                        {m_server->url(QString()), "/usr/bin/7z"_s})
            .run();
    }

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QSharedPointer<Settings> m_settings;
    std::unique_ptr<QSplashScreen> m_splash;
    bool m_windowWasShown = false;
    bool m_windowBeforeSplashWent = false;
    bool m_splashWent = false;
    std::function<void(ApplicationWindow &)> m_behindSplash;
};

KAVO_TEST_MAIN(AssemblyTest)
#include "AssemblyTest.moc"

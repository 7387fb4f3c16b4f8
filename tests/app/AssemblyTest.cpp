#include "app/Assembly.h"
#include "app/SplashMessage.h"
#include "core/Settings.h"
#include "tests/support/TestHttpServer.h"
#include "tests/support/TestMain.h"
#include "ui/ApplicationWindow.h"

#include <QMetaType>
#include <QPainter>
#include <QPixmap>
#include <QSplashScreen>
#include <QTimer>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Assembly;
using Kavo::Settings;
using Kavo::Ui::ApplicationWindow;

namespace {

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

private:
    /// Runs the assembly until the window is shown and ends it with this status.
    int run(int status = 0);

    std::unique_ptr<ScratchProfile> m_profile;
    std::unique_ptr<TestHttpServer> m_server;
    QSharedPointer<Settings> m_settings;
    std::unique_ptr<QSplashScreen> m_splash;
    QStringList m_messages;
    bool m_windowWasShown = false;
    bool m_windowBeforeSplashWent = false;
    bool m_splashWent = false;
};

bool AssemblyTest::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && qobject_cast<ApplicationWindow *>(watched))
        m_windowWasShown = true;
    if (event->type() == QEvent::Hide && watched == m_splash.get()) {
        m_splashWent = true;
        m_windowBeforeSplashWent = m_windowWasShown;
    }
    return QObject::eventFilter(watched, event);
}

void AssemblyTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_server = std::make_unique<TestHttpServer>();
    m_server->serve(QStringLiteral("/packages.json"), "[]");
    m_settings = m_profile->makeSettings();
    m_splash = std::make_unique<QSplashScreen>(QPixmap(300, 200));
    m_messages.clear();
    m_windowWasShown = false;
    m_windowBeforeSplashWent = false;
    m_splashWent = false;
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

int AssemblyTest::run(int status)
{
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [this, &timer, status] {
        // As long as the splash screen waits for the window, the loop has not begun.
        if (!shownWindow() || m_splash->isVisible())
            return;
        timer.stop();
        QCoreApplication::exit(status);
    });
    timer.start(2);
    return Assembly(*qobject_cast<QApplication *>(qApp), *m_splash, m_settings,
                    {m_server->url(QString()), QStringLiteral("/usr/bin/7z")})
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
    QCOMPARE(m_messages,
             QStringList({QStringLiteral("Initializing..."), QStringLiteral("Creating UI...")}));
}

void AssemblyTest::messagesAreWhiteAtTheBottom()
{
    QPixmap black(300, 200);
    black.fill(Qt::black);
    m_splash->setPixmap(black);
    Kavo::showSplashMessage(*m_splash, QStringLiteral("HHHHHHHH"));
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
}

void AssemblyTest::stateIsRegisteredByItsQualifiedName()
{
    run();
    QVERIFY(QMetaType::isRegistered(QMetaType::type("Kavo::Models::Package::State")));
}

void AssemblyTest::pendingSettingsAreWrittenAtTheEnd()
{
    m_settings->setPending(Settings::SHOW_FILTER, QStringLiteral("never applied"));
    run();
    const QSettings file(m_profile->settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.allKeys().size(), 7);
    for (const Settings::Entry &entry : m_settings->pendingConfiguration())
        QCOMPARE(file.value(entry.key).toString(), entry.value);
    QCOMPARE(file.value(QStringLiteral("ShowFilter")).toString(), QStringLiteral("never applied"));
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

KAVO_TEST_MAIN(AssemblyTest)
#include "AssemblyTest.moc"

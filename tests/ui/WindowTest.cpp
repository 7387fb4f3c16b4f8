#include "tests/ui/WindowTest.h"

#include "app/Environment.h"
#include "components/WidgetList.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/window/TopbarController.h"

#include <QAccessible>
#include <QJsonArray>
#include <QTabWidget>
#include <QWindow>
#include <QtTest>

namespace Kavo::Testing {

namespace {

constexpr int MostSteps = 1000;

} // namespace

void WindowTest::initTestCase()
{
    WidgetTest::initTestCase();
    loadFonts();
}

void WindowTest::tearDown()
{
    m_window.reset();
    m_application.reset();
    qApp->setStyleSheet(QString());
}

void WindowTest::offer(int id, int banners)
{
    QJsonArray pictures;
    for (int number = 1; number <= banners; ++number) {
        const QString path = "/banner-%1-%2.png"_s.arg(id).arg(number);
        server().serve(path, png(QSize(640, 280), Qt::red));
        pictures.append(server().url(path));
    }
    QJsonArray versions;
    for (const char *version : {"2.0", "1.0"})
        versions.append(QJsonObject{{"version"_s, QString::fromLatin1(version)},
                                    {"log"_s, QJsonArray{"What is new"_s}}});
    offerObject({{"id"_s, id},
                 {"name"_s, inEnglish("package-%1"_s.arg(id))},
                 {"description"_s, inEnglish("What it is. "_s.repeated(500))},
                 {"help_url"_s, "http://addons.example.org/help"_s},
                 {"manual_url"_s, "http://addons.example.org/manual"_s},
                 {"banner"_s, pictures},
                 {"versions"_s, versions}});
}

void WindowTest::makeWindow()
{
    startServing();
    m_application = QSharedPointer<Controllers::ApplicationController>::create();
    m_window = std::make_unique<Ui::ApplicationWindow>(
        m_application, shared(),
        QSharedPointer<Controllers::TopbarController>::create(engine().settings(), shared(),
                                                              m_application));
}

bool WindowTest::open(bool filter, const QSize &size)
{
    set(Settings::SHOW_FILTER, filter ? "true"_s : "false"_s);
    makeWindow();
    m_window->show();
    m_window->resize(size);
    QSignalSpy listed(&controller(), &Controllers::PackageController::list);
    return listed.wait() && QTest::qWaitForWindowActive(m_window.get());
}

bool WindowTest::openWith(int packages, bool filter)
{
    for (int id = 1; id <= packages; ++id)
        offer(id);
    return open(filter);
}

Components::WidgetList &WindowTest::list() const
{
    return *child<Components::WidgetList>(*m_window, "PackageList");
}

QPushButton *WindowTest::cardButton(int row, const char *objectName) const
{
    return child<QPushButton>(*list().rowWidget(row), objectName);
}

void WindowTest::openDetail(int row)
{
    cardButton(row, "MoreDetail")->setFocus();
    press(Qt::Key_Space);
}

bool WindowTest::showsDetail() const
{
    return m_window->findChild<Ui::PackageDetailWidget *>()->isVisible();
}

void WindowTest::turnTo(int page) const
{
    child<QTabWidget>(*m_window, "DetailTabs")->setCurrentIndex(page);
}

void WindowTest::setState(int id, Package::State state, bool update)
{
    package(id)->setUpdateAvailable(update);
    package(id)->setState(state);
}

void WindowTest::press(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    pressIn(*m_window, key, modifiers);
}

void pressIn(QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(window.windowHandle(), key, modifiers);
}

QString spokenName(QWidget *widget)
{
    QAccessibleInterface *description = QAccessible::queryAccessibleInterface(widget);
    return description ? description->text(QAccessible::Name) : QString();
}

QStringList spokenNames(const QList<QWidget *> &widgets)
{
    QStringList names;
    for (QWidget *widget : widgets)
        names.append(spokenName(widget));
    return names;
}

QString focusedName()
{
    return spokenName(QApplication::focusWidget());
}

QStringList topBar(bool search)
{
    const QStringList always{"Refresh"_s,  "Settings"_s, "Reset"_s,
                             "Minimize"_s, "Maximize"_s, "Close"_s};
    const QStringList field{"Search"_s, "Search"_s};
    return QStringList("Run X-Plane"_s) + (search ? field : QStringList()) + always;
}

QStringList filter()
{
    return {"Plugin"_s, "Type"_s};
}

QStringList cards(int count)
{
    QStringList names;
    for (int id = 1; id <= count; ++id)
        names << "Download: package-%1"_s.arg(id) << "More Detail: package-%1"_s.arg(id);
    return names;
}

QList<QWidget *> walkAround(QWidget &window, bool backwards)
{
    if (QWidget *focused = QApplication::focusWidget())
        focused->clearFocus();
    QList<QWidget *> seen;
    while (seen.size() < MostSteps) {
        pressIn(window, backwards ? Qt::Key_Backtab : Qt::Key_Tab,
                backwards ? Qt::ShiftModifier : Qt::NoModifier);
        QWidget *focused = QApplication::focusWidget();
        if (!focused || seen.contains(focused))
            break;
        seen.append(focused);
    }
    return seen;
}

} // namespace Kavo::Testing

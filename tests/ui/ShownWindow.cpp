#include "tests/ui/ShownWindow.h"

#include "app/Environment.h"
#include "components/IconFont.h"
#include "components/WidgetList.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/window/TopbarController.h"

#include <QAccessible>
#include <QJsonArray>
#include <QWindow>
#include <QtTest>

namespace Kavo::Testing {

namespace {

constexpr int MostSteps = 1000;

QJsonObject inEnglish(const QString &text)
{
    return {{QStringLiteral("en"), text}};
}

QJsonObject version(const QString &text)
{
    return {{QStringLiteral("version"), text},
            {QStringLiteral("log"), QJsonArray{QStringLiteral("What is new")}}};
}

} // namespace

QString spokenName(QWidget *widget)
{
    QAccessibleInterface *description = QAccessible::queryAccessibleInterface(widget);
    return description ? description->text(QAccessible::Name) : QString();
}

ShownWindow::ShownWindow()
{
    Components::iconFont()->initFontAwesome();
    loadFonts();
}

ShownWindow::~ShownWindow()
{
    m_window.reset();
    qApp->setStyleSheet(QString());
}

void ShownWindow::offer(int id, int banners)
{
    QJsonArray pictures;
    for (int number = 1; number <= banners; ++number) {
        const QString path = QStringLiteral("/banner-%1-%2.png").arg(id).arg(number);
        m_engine.server().serve(path, png(QSize(640, 280), Qt::red));
        pictures.append(m_engine.server().url(path));
    }
    m_engine.offerObject(
        {{QStringLiteral("id"), id},
         {QStringLiteral("name"), inEnglish(QStringLiteral("package-%1").arg(id))},
         {QStringLiteral("description"), inEnglish(QStringLiteral("What it is. ").repeated(500))},
         {QStringLiteral("help_url"), QStringLiteral("http://addons.example.org/help")},
         {QStringLiteral("manual_url"), QStringLiteral("http://addons.example.org/manual")},
         {QStringLiteral("banner"), pictures},
         {QStringLiteral("versions"),
          QJsonArray{version(QStringLiteral("2.0")), version(QStringLiteral("1.0"))}}});
}

void ShownWindow::offerSome(int count)
{
    for (int id = 1; id <= count; ++id)
        offer(id);
}

bool ShownWindow::open(bool filter, const QSize &size)
{
    m_engine.start();
    m_engine.serveCatalogue();
    m_engine.settings()->setPending(Settings::SHOW_FILTER,
                                    filter ? QStringLiteral("true") : QStringLiteral("false"));
    m_engine.settings()->apply();
    m_application = QSharedPointer<Controllers::ApplicationController>::create();
    const auto packages = sharedController(m_engine);
    m_window = std::make_unique<Ui::ApplicationWindow>(
        m_application, packages,
        QSharedPointer<Controllers::TopbarController>::create(m_engine.settings(), packages,
                                                              m_application));
    m_window->show();
    m_window->resize(size);
    // The window has asked for the catalogue by itself.
    QSignalSpy listed(packages.data(), &Controllers::PackageController::list);
    return listed.wait() && QTest::qWaitForWindowActive(m_window.get());
}

Components::WidgetList &ShownWindow::list() const
{
    return *child<Components::WidgetList>(*m_window, "PackageList");
}

QPushButton *ShownWindow::cardButton(int row, const char *objectName) const
{
    return child<QPushButton>(*list().rowWidget(row), objectName);
}

void ShownWindow::openDetail(int row)
{
    cardButton(row, "MoreDetail")->setFocus();
    press(*m_window, Qt::Key_Space);
}

bool ShownWindow::showsDetail() const
{
    return m_window->findChild<Ui::PackageDetailWidget *>()->isVisible();
}

void press(QWidget &window, Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(window.windowHandle(), key, modifiers);
}

QList<QWidget *> walkAround(QWidget &window, bool backwards)
{
    if (QWidget *focused = QApplication::focusWidget())
        focused->clearFocus();
    QList<QWidget *> seen;
    while (seen.size() < MostSteps) {
        if (backwards)
            press(window, Qt::Key_Backtab, Qt::ShiftModifier);
        else
            press(window, Qt::Key_Tab);
        QWidget *focused = QApplication::focusWidget();
        if (!focused || seen.contains(focused))
            break;
        seen.append(focused);
    }
    return seen;
}

QStringList spokenNames(const QList<QWidget *> &widgets)
{
    QStringList names;
    for (QWidget *widget : widgets)
        names.append(spokenName(widget));
    return names;
}

} // namespace Kavo::Testing

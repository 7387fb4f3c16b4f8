#include "benchmarks/CardWindow.h"

#include "app/Environment.h"
#include "benchmarks/CatalogueMaker.h"
#include "benchmarks/LoopWatch.h"
#include "benchmarks/Measure.h"
#include "benchmarks/Process.h"
#include "components/IconFont.h"
#include "components/WidgetList.h"
#include "core/ApplicationController.h"
#include "ui/list/PackageCards.h"
#include "ui/list/PackageWidget.h"
#include "ui/window/PackageContainer.h"

#include <QApplication>
#include <QEvent>
#include <QEventLoop>
#include <QLabel>
#include <QTcpServer>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace Kavo::Benchmarks {

using Components::WidgetList;
using Controllers::ApplicationController;
using Controllers::PackageController;
using Ui::PackageCards;
using Ui::PackageContainer;

namespace {

/// The program's window without its top bar.
constexpr QSize WindowSize(1320, 736);

void applyLook()
{
    Components::iconFont()->initFontAwesome();
    loadFonts();
    ApplicationController style;
    QObject::connect(&style, &ApplicationController::styleChanged, qApp,
                     [](const QString &sheet) { qApp->setStyleSheet(sheet); });
    style.loadStyle();
}

} // namespace

CardWindow::CardWindow(const QString &workFolder, const QString &address)
    : m_engine(workFolder, address)
    , m_silence(std::make_unique<QTcpServer>())
    , m_window(std::make_unique<QWidget>())
{
    require(m_silence->listen(QHostAddress::LocalHost), "listening");
    applyLook();
    m_engine.serveCatalogue("[]");
    // This connection is made before that of the list, so it is called first.
    connect(&m_engine.controller(), &PackageController::update, this, &CardWindow::noteStart);
    const QSharedPointer<PackageController> controller(&m_engine.controller(),
                                                       [](PackageController *) {});
    auto *layout = new QVBoxLayout(m_window.get());
    layout->setContentsMargins(0, 0, 0, 0);
    QEventLoop loop;
    connect(controller.data(), &PackageController::list, &loop, &QEventLoop::quit);
    layout->addWidget(new PackageContainer(controller, m_window.get()));
    m_window->resize(WindowSize);
    m_window->show();
    loop.exec();
    qApp->installEventFilter(this);
}

CardWindow::~CardWindow()
{
    m_window.reset();
}

CardWindow::Filling CardWindow::fill(int packages)
{
    return fillFrom(QStringLiteral("http://127.0.0.1:%1/").arg(m_silence->serverPort()), packages);
}

CardWindow::Filling CardWindow::fillFrom(const QString &server, int packages)
{
    m_engine.serveCatalogue(makeCatalogue(packages, server));
    m_filling = {};
    m_start = 0;

    // The gaps between the timeouts of a timer of one millisecond show for how long the event loop
    // was blocked.
    QTimer pulse;
    pulse.setTimerType(Qt::PreciseTimer);
    qint64 last = 0;
    connect(&pulse, &QTimer::timeout, this, [this, &last] {
        const qint64 now = wallTime();
        if (m_start > 0)
            m_filling.longestHold = qMax(m_filling.longestHold, now - qMax(last, m_start));
        last = now;
    });
    pulse.start(1);

    QEventLoop loop;
    const auto *cards = m_window->findChild<PackageCards *>();
    connect(cards, &PackageCards::complete, &loop, [this, &loop] {
        m_filling.processorTime = processorTime() - m_processorStart;
        m_filling.memory = processStatus("VmRSS:") - m_memoryStart;
        loop.quit();
    });
    LoopWatch watch;
    watch.begin();
    m_engine.controller().refresh();
    loop.exec();
    watch.end();
    m_filling.refreshHold = watch.longest();
    // A short list may be complete before it is painted.
    while (m_filling.firstScreen == 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    require(list().count() == packages && list().rowWidget(packages - 1), "the list is not whole");
    return m_filling;
}

void CardWindow::empty()
{
    m_engine.serveCatalogue("[]");
    QEventLoop loop;
    connect(&m_engine.controller(), &PackageController::list, &loop, &QEventLoop::quit);
    m_engine.controller().refresh();
    loop.exec();
    while (m_window->findChild<Ui::PackageWidget *>())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

WidgetList &CardWindow::list() const
{
    return *m_window->findChild<WidgetList *>(QStringLiteral("PackageList"));
}

bool CardWindow::showsIconsInSight() const
{
    const auto showsIcon = [this](int row) {
        const QWidget *card = list().rowWidget(row);
        const auto *icon =
            card ? card->findChild<QLabel *>(QStringLiteral("PackageIcon")) : nullptr;
        return icon && !icon->pixmap(Qt::ReturnByValue).isNull() && !icon->movie();
    };
    const QVector<int> visible = list().visibleRows();
    return list().isVisible() && !visible.isEmpty() &&
           std::all_of(visible.begin(), visible.end(), showsIcon);
}

qint64 CardWindow::sinceUpdate() const
{
    return wallTime() - m_start;
}

bool CardWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Paint && m_start > 0 && m_filling.firstScreen == 0 &&
        qobject_cast<Ui::PackageWidget *>(watched)) {
        m_painted.insert(watched);
        if (isFirstScreenPainted())
            m_filling.firstScreen = wallTime() - m_start;
    }
    return QObject::eventFilter(watched, event);
}

void CardWindow::noteStart()
{
    m_painted.clear();
    m_memoryStart = processStatus("VmRSS:");
    m_processorStart = processorTime();
    m_start = wallTime();
}

bool CardWindow::isFirstScreenPainted() const
{
    const QVector<int> visible = list().visibleRows();
    return !visible.isEmpty() && std::all_of(visible.begin(), visible.end(), [this](int row) {
        return m_painted.contains(list().rowWidget(row));
    });
}

} // namespace Kavo::Benchmarks

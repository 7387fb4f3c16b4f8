#include "tests/app/PictureTour.h"

#include "app/StartUp.h"
#include "tests/components/Widgets.h"
#include "tests/support/Archives.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/WithoutRights.h"
#include "ui/detail/PackageDetailOldVersionWidget.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageWidget.h"
#include "ui/window/ApplicationWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QListWidget>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QSplashScreen>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <algorithm>

namespace Kavo::Testing {

using Ui::ApplicationWindow;
using Ui::PackageDetailOldVersionWidget;
using Ui::PackageDetailWidget;
using Ui::PackageWidget;

namespace {

// The packages of the demonstration by their ids.
constexpr int Library = 1;
constexpr int GroundEquipment = 2;
constexpr int HarbourCity = 3;
constexpr int GlassCockpit = 10;
constexpr int HighlandApproach = 5;
constexpr int DesertStrip = 6;
constexpr int SeaplaneBase = 7;
constexpr int NightLighting = 8;

constexpr int Installed = 1;
constexpr int Patience = 60000;
/// Slow enough to catch a download in its middle.
constexpr int BytesASecond = 1500000;

template<class Widget>
Widget *visibleWindow()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        auto *window = qobject_cast<Widget *>(widget);
        if (window && window->isVisible())
            return window;
    }
    return nullptr;
}

QListWidget *listOf(const ApplicationWindow &window)
{
    return child<QListWidget>(window, "PackageList");
}

QPushButton *topButton(const ApplicationWindow &window, int number)
{
    return allChildren<QPushButton>(window, "TopButton").value(number);
}

constexpr int RefreshButton = 1;
constexpr int SettingsButton = 2;
constexpr int ResetButton = 3;

QString standardExtractor()
{
    return PackageEnvironment::standard().extractor;
}

} // namespace

PictureTour::PictureTour(const QString &language)
    : m_language(language)
    , m_extractor(standardExtractor())
{
    qApp->installEventFilter(this);
}

bool PictureTour::take()
{
    if (!m_demonstration.isReady())
        return false;
    store(QStringLiteral("Language"), m_language);
    for (const Stop stop : {&PictureTour::visitWithoutSimulator, &PictureTour::visitList,
                            &PictureTour::visitDownload, &PictureTour::visitChangedCatalogue,
                            &PictureTour::visitErrors, &PictureTour::visitFailedRemovals,
                            &PictureTour::visitSettings, &PictureTour::visitFilter})
        (this->*stop)();
    return m_complete;
}

/// Names boxes before their pictures are asked for by the same event, and answers them.
bool PictureTour::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Show)
        return QObject::eventFilter(watched, event);
    if (auto *box = qobject_cast<QMessageBox *>(watched)) {
        const Answer answer = m_answers.isEmpty() ? Answer() : m_answers.dequeue();
        m_pictures.nameBoxes(answer.box);
        QTimer::singleShot(0, box, [this, box, answer] {
            if (QAbstractButton *button = box->button(answer.button))
                button->click();
            else
                fail(QStringLiteral("an answer to: ") + box->text());
        });
    } else if (auto *files = qobject_cast<QFileDialog *>(watched)) {
        QTimer::singleShot(0, files, &QFileDialog::reject);
    } else if (auto *splash = qobject_cast<QSplashScreen *>(watched)) {
        connect(splash, &QSplashScreen::messageChanged, this, [this, splash] {
            if (!m_started)
                m_pictures.take(*splash, QStringLiteral("start"));
            m_started = true;
        });
    }
    return QObject::eventFilter(watched, event);
}

// Stops ------------------------------------------------------------------------------------------

void PictureTour::visitWithoutSimulator()
{
    const StandInLocate nothing({}, 1);
    // The folder dialog is left by Cancel, and another information follows.
    answerNext(QStringLiteral("box-detection"), QMessageBox::Ok);
    answerNext(QStringLiteral("box-detection"), QMessageBox::Ok);
    if (start() != 1)
        fail(QStringLiteral("the end of a start without a simulator"));
}

void PictureTour::visitList()
{
    visit([this] {
        m_pictures.take(*m_window, QStringLiteral("list-idle"));
        pressAndAnswer(actionOf(DesertStrip), QStringLiteral("box-missing-dependency"),
                       QMessageBox::Ok);
        pressAndAnswer(topButton(*m_window, ResetButton), QStringLiteral("box-reset"),
                       QMessageBox::No);
    });
}

void PictureTour::visitDownload()
{
    m_demonstration.server().limitRate(BytesASecond);
    visit([this] {
        pressAndAnswer(actionOf(HarbourCity), QStringLiteral("box-dependencies"), QMessageBox::Yes);
        const auto *progress = child<QProgressBar>(*card(HarbourCity), "PackageProgress");
        waitFor(QStringLiteral("half of a download"), [progress] {
            return progress->maximum() > 0 && progress->value() * 2 > progress->maximum();
        });
        m_pictures.take(*m_window, QStringLiteral("list-downloading"));
        openDetail(HarbourCity);
        m_pictures.take(*m_window, QStringLiteral("detail-downloading"));
        closeDetail();
        waitFor(QStringLiteral("the installation"), [this] {
            return m_demonstration.rows().value(HarbourCity).first == Installed &&
                   actionOf(HarbourCity)->objectName() == QLatin1String("Installed");
        });
        m_pictures.take(*m_window, QStringLiteral("list-installed"));
    });
}

void PictureTour::visitChangedCatalogue()
{
    visit([this] {
        showDetail();
        showUpdates();
        showRemoval();
    });
}

void PictureTour::showDetail()
{
    openDetail(HighlandApproach);
    m_pictures.take(*m_window, QStringLiteral("detail-available"));
    auto *page = child<QScrollArea>(*m_window, "DetailScroll");
    page->verticalScrollBar()->setValue(page->verticalScrollBar()->maximum());
    m_pictures.take(*m_window, QStringLiteral("detail-facts"));
    showTab(1);
    m_pictures.take(*m_window, QStringLiteral("detail-change-log"));
    showTab(2);
    m_pictures.take(*m_window, QStringLiteral("detail-old-versions"));
    closeDetail();
}

void PictureTour::showUpdates()
{
    install(HighlandApproach, 1);
    install(NightLighting, 1);
    m_pictures.take(*m_window, QStringLiteral("list-updates"));
    openDetail(HighlandApproach);
    m_pictures.take(*m_window, QStringLiteral("detail-update"));
    closeDetail();
    pressAndAnswer(actionOf(HighlandApproach), QStringLiteral("box-change-log"), QMessageBox::No);
    openDetail(Library);
    showTab(2);
    pressAndAnswer(oldVersion(2), QStringLiteral("box-older-version"), QMessageBox::No);
    closeDetail();
}

void PictureTour::showRemoval()
{
    openDetail(NightLighting);
    pressAndAnswer(child<QPushButton>(*m_window, "Uninstall"), QStringLiteral("box-uninstall"),
                   QMessageBox::No);
    closeDetail();
    openDetail(GroundEquipment);
    pressAndAnswer(child<QPushButton>(*m_window, "Uninstall"),
                   QStringLiteral("box-uninstall-dependents"), QMessageBox::No);
    closeDetail();
}

void PictureTour::visitErrors()
{
    const QString folder = m_demonstration.profile().folder(QStringLiteral("home/extractor"));
    const QString started = folder + QStringLiteral("started");
    const QString mayEnd = folder + QStringLiteral("may-end");
    m_extractor = folder + QStringLiteral("extract");
    writeFile(m_extractor, "#!/bin/sh\n"
                           "cd \"$(dirname \"$0\")\"\n"
                           "touch started\n"
                           "until [ -e may-end ]; do sleep 0.02; done\n"
                           "exit 2\n");
    QFile::setPermissions(m_extractor, QFile::ReadOwner | QFile::ExeOwner);
    visit([&] {
        press(actionOf(SeaplaneBase));
        waitFor(QStringLiteral("the extraction"), [&] { return QFile::exists(started); });
        m_pictures.take(*m_window, QStringLiteral("list-installing"));
        answerNext(QStringLiteral("box-busy"), QMessageBox::Ok);
        m_window->close();
        answerNext(QStringLiteral("box-install-error"), QMessageBox::Ok);
        writeFile(mayEnd, "");
        waitForError(SeaplaneBase);
        showFailedDownload();
        showSilentServer();
    });
    m_extractor = standardExtractor();
}

void PictureTour::showFailedDownload()
{
    m_demonstration.server().stop();
    answerNext(QStringLiteral("box-download-error"), QMessageBox::Ok);
    press(actionOf(GlassCockpit));
    waitForError(GlassCockpit);
    m_pictures.take(*m_window, QStringLiteral("list-error"));
}

void PictureTour::showSilentServer()
{
    press(topButton(*m_window, RefreshButton));
    m_pictures.take(*m_window, QStringLiteral("refreshing"));
    waitFor(QStringLiteral("the error text"), [this] {
        const auto messages = allChildren<QLabel>(*m_window, "ProcessingMessage");
        return std::any_of(messages.begin(), messages.end(),
                           [](const QLabel *message) { return message->isVisible(); });
    });
    m_pictures.take(*m_window, QStringLiteral("error"));
    m_demonstration.server().restart();
}

/// One without the simulator, and one with a folder that a file was put into which stays.
void PictureTour::visitFailedRemovals()
{
    QString simulator = m_demonstration.simulator();
    simulator.chop(1);
    const QString away = simulator + QStringLiteral(" of another disk");
    const QString folder =
        m_demonstration.simulator() + m_demonstration.entry(NightLighting).folder;
    visit([&] {
        openDetail(NightLighting);
        QDir().rename(simulator, away);
        removeInVain(QStringLiteral("box-missing-simulator"));
        QDir().rename(away, simulator);
        letEverybodyWrite(m_demonstration.profile().home());
        setMode(folder, 0555);
        {
            const WithoutRights withoutRights;
            removeInVain(QStringLiteral("box-leftovers"));
        }
        setMode(folder, 0755);
        closeDetail();
    });
}

void PictureTour::visitSettings()
{
    visit([this] {
        openSettings([this](QDialog &settings) {
            auto *tabs = child<QTabWidget>(settings, "SettingsTabs");
            for (int page = 0; page < tabs->count(); ++page) {
                tabs->setCurrentIndex(page);
                m_pictures.take(settings, QStringLiteral("settings-%1").arg(page + 1));
            }
            tabs->setCurrentIndex(0);
            auto *choice = child<QComboBox>(settings, "LanguageChoice");
            choice->setCurrentIndex(1 - choice->currentIndex());
            pressAndAnswer(child<QPushButton>(settings, "SettingsOk"),
                           QStringLiteral("box-new-language"), QMessageBox::No);
            press(child<QPushButton>(settings, "SettingsCancel"));
        });
    });
}

void PictureTour::visitFilter()
{
    store(QStringLiteral("ShowFilter"), QStringLiteral("true"));
    visit([this] { m_pictures.take(*m_window, QStringLiteral("list-filter")); });
}

// Going about ------------------------------------------------------------------------------------

void PictureTour::visit(const std::function<void()> &look)
{
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        m_window = visibleWindow<QSplashScreen>() ? nullptr : visibleWindow<ApplicationWindow>();
        if (!m_window)
            return;
        timer.stop();
        const QPointer<ApplicationWindow> window = m_window;
        restoreWindow(*window);
        waitFor(QStringLiteral("the catalogue"), [this] { return listOf(*m_window)->isVisible(); });
        waitFor(QStringLiteral("the pictures of the cards"), [this] {
            for (const auto *icon : allChildren<QLabel>(*m_window, "PackageIcon")) {
                if (!icon->hasScaledContents())
                    return false;
            }
            return true;
        });
        look();
        m_window->close();
        if (window && window->isVisible())
            fail(QStringLiteral("the end of the program"));
    });
    timer.start(2);
    start();
    m_window = nullptr;
}

int PictureTour::start()
{
    return StartUp(*qobject_cast<QApplication *>(qApp),
                   {m_demonstration.server().url(QStringLiteral("/")), m_extractor})
        .run();
}

void PictureTour::waitForError(int id)
{
    waitFor(QStringLiteral("the error mark"), [this, id] {
        return actionOf(id)->objectName() == QLatin1String("Error") && m_answers.isEmpty();
    });
}

bool PictureTour::waitFor(const QString &what, const std::function<bool()> &condition)
{
    const bool met = QTest::qWaitFor(condition, Patience);
    if (!met)
        fail(what);
    return met;
}

void PictureTour::fail(const QString &what)
{
    qWarning("The tour waited in vain for %s", qUtf8Printable(what));
    m_complete = false;
}

// Hands ------------------------------------------------------------------------------------------

void PictureTour::answerNext(const QString &name, QMessageBox::StandardButton button)
{
    m_answers.enqueue({name, button});
}

void PictureTour::press(QPushButton *button)
{
    if (button && button->isVisible() && button->isEnabled())
        QTest::mouseClick(button, Qt::LeftButton);
    else
        fail(QStringLiteral("a button"));
}

void PictureTour::pressAndAnswer(QPushButton *button, const QString &name,
                                 QMessageBox::StandardButton answer)
{
    answerNext(name, answer);
    press(button);
    if (!m_answers.isEmpty())
        fail(name);
    m_answers.clear();
}

void PictureTour::removeInVain(const QString &name)
{
    answerNext(QStringLiteral("box-uninstall"), QMessageBox::Yes);
    pressAndAnswer(child<QPushButton>(*m_window, "Uninstall"), name, QMessageBox::Ok);
}

void PictureTour::openSettings(const std::function<void(QDialog &)> &look)
{
    QTimer::singleShot(0, this, [this, look] {
        auto *settings = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (settings)
            look(*settings);
        else
            fail(QStringLiteral("the settings"));
    });
    press(topButton(*m_window, SettingsButton));
}

PackageWidget *PictureTour::card(int id)
{
    const QListWidget *list = listOf(*m_window);
    const QString name = m_demonstration.entry(id).name(m_language);
    for (int row = 0; row < list->count(); ++row) {
        auto *widget =
            qobject_cast<PackageWidget *>(list->indexWidget(list->model()->index(row, 0)));
        if (widget && textOf(*widget, "PackageName") == name)
            return widget;
    }
    qFatal("No card of package %d", id);
}

QPushButton *PictureTour::actionOf(int id)
{
    // Its object name follows the state; the other button keeps its own.
    for (QPushButton *button : card(id)->findChildren<QPushButton *>()) {
        if (button->objectName() != QLatin1String("MoreDetail"))
            return button;
    }
    qFatal("The card has no action");
}

void PictureTour::openDetail(int id)
{
    press(child<QPushButton>(*card(id), "MoreDetail"));
    waitFor(QStringLiteral("the first banner"), [this] {
        const auto *banner = child<QLabel>(*m_window, "CarouselImage");
        return !banner->isVisible() || (banner->pixmap() && banner->pixmap()->height() > 100);
    });
}

void PictureTour::closeDetail()
{
    press(child<QPushButton>(*m_window, "BackButton"));
}

void PictureTour::showTab(int index)
{
    child<QTabWidget>(*m_window, "DetailTabs")->setCurrentIndex(index);
}

QPushButton *PictureTour::oldVersion(int row)
{
    const auto rows = m_window->findChildren<PackageDetailOldVersionWidget *>();
    return row < rows.size() ? child<QPushButton>(*rows.at(row), "OldVersionButton") : nullptr;
}

void PictureTour::install(int id, int oldVersionRow)
{
    // It asks twice at most; what is left of the answers is of no use.
    answerNext(QStringLiteral("box-install"), QMessageBox::Yes);
    answerNext(QStringLiteral("box-install"), QMessageBox::Yes);
    openDetail(id);
    if (oldVersionRow < 0) {
        press(child<QPushButton>(*m_window, "Download"));
    } else {
        showTab(2);
        press(oldVersion(oldVersionRow));
    }
    waitFor(QStringLiteral("an installation"), [this, id] {
        return m_demonstration.rows().value(id).first == Installed &&
               child<QPushButton>(*m_window, "Uninstall")->isVisible();
    });
    m_answers.clear();
    closeDetail();
}

void PictureTour::store(const QString &key, const QString &value)
{
    QSettings file(m_demonstration.profile().settingsFile(), QSettings::IniFormat);
    file.setValue(key, value);
}

} // namespace Kavo::Testing

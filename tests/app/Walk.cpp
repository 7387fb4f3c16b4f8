#include "tests/app/Walk.h"

#include "app/StartUp.h"
#include "components/FileSelector.h"
#include "tests/app/StoredSettings.h"
#include "tests/app/TranslationEntries.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "ui/detail/PackageDetailOldVersionWidget.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageWidget.h"
#include "ui/window/ApplicationWindow.h"

#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QListWidget>
#include <QSplashScreen>
#include <QTabWidget>
#include <QTimer>
#include <QtTest>

namespace Kavo::Testing {

using Ui::ApplicationWindow;
using Ui::PackageDetailOldVersionWidget;
using Ui::PackageDetailWidget;
using Ui::PackageWidget;

namespace {

/// How long the program may take to end after the last step, in milliseconds.
constexpr int EndLimit = 5000;

QListWidget *listOf(const ApplicationWindow &window)
{
    return child<QListWidget>(window, "PackageList");
}

} // namespace

Walk::Walk()
    : m_demonstration(std::make_unique<Demonstration>())
    , m_language(qEnvironmentVariable("KAVO_WALK_LANGUAGE", "en"_s))
    , m_extractor(PackageEnvironment::standard().extractor)
{
    const QString file = QStringLiteral(KAVO_TRANSLATION_SOURCES "/qt_%1.ts")
                             .arg(isEnglish() ? otherLanguage() : m_language);
    for (const TranslationEntry &entry : readTranslations(file)) {
        m_translations.insert(entry.source, entry.translations.value(0));
        m_translations.insert(entry.context + "::"_s + entry.source, entry.translations.value(0));
    }
    m_isTranslated = !isEnglish();
    if (m_isTranslated)
        store(profile(), "Language", m_language);
    m_handlerBefore = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(m_handlerBefore);
}

Walk::~Walk() = default;

void Walk::beginPart()
{
    if (m_broken)
        QSKIP("The walk ended at an earlier step");
    m_answers = std::make_unique<MessageBoxAnswers>();
}

void Walk::endPart()
{
    m_answers.reset();
    qInstallMessageHandler(m_handlerBefore);
    qApp->setStyleSheet(QString());
    m_broken = m_broken || QTest::currentTestFailed();
}

// Running the program ----------------------------------------------------------------------------

void Walk::visit(const Steps &steps)
{
    visitToTheEnd([&] {
        steps();
        if (!QTest::currentTestFailed())
            compare();
        m_window->close();
    });
    compareDisk();
}

void Walk::visitToTheEnd(const Steps &steps)
{
    m_errors.clear();
    QCOMPARE(start([&] {
                 compare();
                 if (!QTest::currentTestFailed())
                     steps();
             }),
             0);
}

int Walk::start(const Steps &steps)
{
    QTimer watchdog;
    watchdog.setSingleShot(true);
    connect(&watchdog, &QTimer::timeout, this, [] { QCoreApplication::exit(StillRunning); });
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        m_window = findWindow();
        if (!m_window)
            return;
        timer.stop();
        restoreWindow(*m_window);
        steps();
        watchdog.start(EndLimit);
    });
    timer.start(2);
    // An installed translation remains until the end of the process.
    m_isTranslated |= !isEnglish();
    const int status =
        StartUp(*qobject_cast<QApplication *>(qApp), {server().url("/"_s), m_extractor}).run();
    const QByteArray log = readFile(profile().logFile());
    for (const char *complaint :
         {"SQL Error", "QObject::", "QSql", "QTimer", "QPixmap", "QPainter"})
        [&] { QVERIFY2(!log.contains(complaint), log.constData()); }();
    return status;
}

/// The main window if it shows its list and the splash screen is hidden; otherwise null.
ApplicationWindow *Walk::findWindow() const
{
    ApplicationWindow *found = nullptr;
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (widget->isVisible() && qobject_cast<QSplashScreen *>(widget))
            return nullptr;
        auto *candidate = qobject_cast<ApplicationWindow *>(widget);
        if (candidate && candidate->isVisible() && listOf(*candidate)->isVisible())
            found = candidate;
    }
    return found;
}

// Checking the state -----------------------------------------------------------------------------

void Walk::compare()
{
    compareDisk();
    if (!QTest::currentTestFailed())
        compareCards();
    // An archive is deleted after it was unpacked. A failed download may leave an empty file.
    const QDir cache(profile().cacheFolder());
    QStringList archives;
    for (const QFileInfo &file : cache.entryInfoList({"*.7z"_s, "*.zip"_s})) {
        if (file.size() > 0)
            archives.append(file.fileName());
    }
    QCOMPARE(archives, QStringList());
}

void Walk::compareDisk()
{
    QMap<int, QString> recorded;
    const auto rows = this->rows();
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        if (row->first == Installed)
            recorded.insert(row.key(), row->second);
    }
    QCOMPARE(recorded, m_installed);
    for (const auto &entry : m_demonstration->entries())
        QCOMPARE(m_demonstration->versionOnDisk(entry.id), m_installed.value(entry.id));
    QCOMPARE(differences(fileTree(simulator()), m_demonstration->expectedSimulator(m_installed)),
             QStringList());
    // Preserved files are moved back to the simulator. Their empty folders may remain.
    QCOMPARE(filesUnder(profile().preserveFolder()), QStringList());
}

void Walk::compareCards()
{
    const auto shown = cards();
    const auto &entries = m_demonstration->entries();
    QCOMPARE(shown.size(), entries.size());
    for (int row = 0; row < shown.size() && !QTest::currentTestFailed(); ++row)
        compareCard(*shown.at(row), entries.at(row));
}

void Walk::compareCard(const PackageWidget &card, const Demonstration::Entry &entry) const
{
    const QString version = m_installed.value(entry.id);
    const QString error = m_errors.value(entry.id);
    QString state = "Download"_s;
    if (!error.isEmpty())
        state = "Error"_s;
    else if (!version.isEmpty())
        state = version == entry.newest ? "Installed"_s : "Update"_s;
    const QPushButton *button = actionOf(card);
    QTRY_COMPARE_WITH_TIMEOUT(button->objectName(), state, Patience);
    QCOMPARE(button->text(), error.isEmpty() ? text(qUtf8Printable(state)) : error);
    QCOMPARE(button->isEnabled(), state == "Download"_s || state == "Update"_s);
    QCOMPARE(textOf(card, "PackageName"), entry.name(m_language));
    QCOMPARE(textOf(card, "PackageInstalled"), text("Installed : ") + version);
    QCOMPARE(textOf(card, "PackageAvailable"), text("Available : ") + entry.newest);
    // The icon was downloaded.
    QTRY_VERIFY_WITH_TIMEOUT(child<QLabel>(card, "PackageIcon")->hasScaledContents(), Patience);
}

void Walk::waitForRow(int id, RecordedStatus status, const QString &version) const
{
    const QPair<int, QString> expected(status, version);
    QTRY_COMPARE_WITH_TIMEOUT(row(id), expected, Patience);
}

void Walk::waitForInstallation(int id, const QString &version)
{
    waitForRow(id, Installed, version);
    m_installed.insert(id, version);
}

// Looking at the window --------------------------------------------------------------------------

bool Walk::isListShown() const
{
    return listOf(*m_window)->isVisible();
}

QList<PackageWidget *> Walk::cards() const
{
    QList<PackageWidget *> found;
    const QListWidget *list = listOf(*m_window);
    for (int row = 0; row < list->count(); ++row)
        found.append(
            qobject_cast<PackageWidget *>(list->indexWidget(list->model()->index(row, 0))));
    return found;
}

PackageWidget *Walk::card(int id) const
{
    for (PackageWidget *candidate : cards()) {
        if (textOf(*candidate, "PackageName") == nameOf(id))
            return candidate;
    }
    qFatal("No card of package %d", id);
}

QPushButton *Walk::action(int id) const
{
    return actionOf(*card(id));
}

QPushButton *Walk::actionOf(const PackageWidget &card)
{
    // Its object name depends on the state. The other button is always called MoreDetail.
    for (QPushButton *button : card.findChildren<QPushButton *>()) {
        if (button->objectName() != "MoreDetail"_s)
            return button;
    }
    qFatal("The card has no action");
}

QPushButton *Walk::topButton(const char *name) const
{
    for (QPushButton *button : allChildren<QPushButton>(*m_window, "TopButton")) {
        if (button->accessibleName() == text(name))
            return button;
    }
    return nullptr;
}

QLabel *Walk::listMessage() const
{
    for (QLabel *label : allChildren<QLabel>(*m_window, "ProcessingMessage")) {
        if (!detail().isAncestorOf(label))
            return label;
    }
    return nullptr;
}

PackageDetailWidget &Walk::detail() const
{
    return *m_window->findChild<PackageDetailWidget *>();
}

QPushButton *Walk::detailButton(const char *name) const
{
    return child<QPushButton>(detail(), name);
}

// Operating the window ---------------------------------------------------------------------------

void Walk::openDetail(int id)
{
    press(child<QPushButton>(*card(id), "MoreDetail"));
    QVERIFY(detail().isVisible());
    QVERIFY(!isListShown());
    QCOMPARE(textOf(detail(), "DetailTitle"), nameOf(id));
    QCOMPARE(child<QTabWidget>(detail(), "DetailTabs")->currentIndex(), 0);
    // The first banner, if there is one, was downloaded.
    const auto *banner = child<QLabel>(detail(), "CarouselImage");
    QTRY_VERIFY_WITH_TIMEOUT(
        !banner->isVisible() || (banner->pixmap() && banner->pixmap()->height() > 100), Patience);
}

void Walk::showDetailTab(int index)
{
    child<QTabWidget>(detail(), "DetailTabs")->setCurrentIndex(index);
}

QPushButton *Walk::oldVersion(const QString &version)
{
    showDetailTab(2);
    for (const auto *row : detail().findChildren<PackageDetailOldVersionWidget *>()) {
        if (textOf(*row, "OldVersionText") == version)
            return child<QPushButton>(*row, "OldVersionButton");
    }
    qFatal("Version %s is not listed", qUtf8Printable(version));
}

void Walk::closeDetail()
{
    press(detailButton("BackButton"));
    QVERIFY(isListShown());
}

void Walk::uninstall(int id)
{
    openDetail(id);
    pressAndAnswer(detailButton("Uninstall"));
    closeDetail();
}

void Walk::press(QWidget *button)
{
    QVERIFY(button);
    QVERIFY(button->isVisible());
    QVERIFY(button->isEnabled());
    QTest::mouseClick(button, Qt::LeftButton);
}

void Walk::expect(const QString &title, const QString &text, QMessageBox::StandardButton button,
                  const QString &picture)
{
    m_answers->expect(title, text, button);
    m_pictures.nameBox(picture);
}

void Walk::pressAndAnswer(QPushButton *button)
{
    press(button);
    QVERIFY(m_answers->allShown());
}

void Walk::inSettings(const std::function<void(QDialog &)> &change)
{
    m_answers->expectDialog("SettingsDialog"_s, change);
    pressAndAnswer(topButton("Settings"));
}

void Walk::expectFolder(const QString &caption, const QString &folder, const QString &picture)
{
    m_answers->expectFolder(caption, folder);
    m_pictures.nameBox(picture);
}

void Walk::chooseFolder(QDialog &settings, int row, const QString &folder, const QString &picture)
{
    // Qt's default caption of a folder dialog.
    expectFolder(QFileDialog::tr("Find Directory"), folder, picture);
    browse(settings, row);
}

void Walk::browse(QDialog &settings, int row)
{
    child<QTabWidget>(settings, "SettingsTabs")->setCurrentIndex(1);
    const auto *selector = settings.findChildren<Components::FileSelector *>().at(row);
    press(child<QPushButton>(*selector, "FileSelectorBrowse"));
}

void Walk::takePicture(const char *name)
{
    m_pictures.take(*m_window, QString::fromLatin1(name));
}

void Walk::takePicture(QWidget &widget, const QString &name)
{
    m_pictures.take(widget, name);
}

// Texts ------------------------------------------------------------------------------------------

QString Walk::text(const char *source, const char *context) const
{
    const QString original = QString::fromUtf8(source);
    const QString key = context ? QLatin1String(context) + "::"_s + original : original;
    return m_isTranslated ? m_translations.value(key) : original;
}

QString Walk::nameOf(int id) const
{
    return m_demonstration->entry(id).name(m_language);
}

QString Walk::namesOf(const QList<int> &ids) const
{
    QString names;
    for (const int id : ids)
        names += nameOf(id) + QLatin1Char('\n');
    return names;
}

} // namespace Kavo::Testing

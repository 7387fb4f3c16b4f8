#include "app/StartUp.h"
#include "components/FileSelector.h"
#include "tests/app/Demonstration.h"
#include "tests/app/WalkPictures.h"
#include "tests/components/Widgets.h"
#include "tests/support/Archives.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/detail/PackageDetailOldVersionWidget.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageWidget.h"
#include "ui/window/ApplicationWindow.h"

#include <QComboBox>
#include <QDesktopServices>
#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QSettings>
#include <QSplashScreen>
#include <QTabWidget>

#include <functional>
#include <memory>

using namespace Kavo::Testing;
using Kavo::StartUp;
using Kavo::Components::FileSelector;
using Kavo::Ui::ApplicationWindow;
using Kavo::Ui::PackageDetailOldVersionWidget;
using Kavo::Ui::PackageDetailWidget;
using Kavo::Ui::PackageWidget;

namespace {

// The packages of the demonstration by their ids.
constexpr int Library = 1;
constexpr int GroundEquipment = 2;
constexpr int HarbourCity = 3;
constexpr int HighlandApproach = 5;
constexpr int DesertStrip = 6;
constexpr int SeaplaneBase = 7;
constexpr int NightLighting = 8;
constexpr int CloudPainter = 9;

constexpr int Available = 0;
constexpr int Installed = 1;
constexpr int DownloadError = 7;

constexpr int Patience = 30000;

const QString InstallTitle = QStringLiteral("Install Package");
const QString DependencyLead =
    QStringLiteral("This package is dependent on following packages and will be installed if not "
                   "already installed or upgraded if outdated along with this package\n\n");
const QString DependencyTail = QStringLiteral("\nContinue?");
const QString ChangeLogTitle = QStringLiteral("Change Log");
const QString ChangeLogHead = QStringLiteral("<strong>Install ?</strong>");
const QString OlderLead =
    QStringLiteral("Install older version?\n\nFollowing extensions depend on newer version and may "
                   "stop working\n\n");
const QString UninstallTitle = QStringLiteral("Uninstall Package");
const QString DependentsLead =
    QStringLiteral("\n\nFollowing dependent extensions will also be uninstalled\n\n");
const QString ResetTitle = QStringLiteral("Reset");
const QString ResetText =
    QStringLiteral("This action will reset databases and application prefrences.\n\nContinue?");
const QString LanguageText =
    QStringLiteral("Language has been changed\n\nApplication restart neeeded. Continue ?");
const QString InstallationText = QStringLiteral(
    "X-Plane path has been changed\n\nProceeding will reset cache & databases. Continue ?");
const QString ClosingText = QStringLiteral(
    "Application will now close. Restart the application for new setting to take effect.");
/// What Qt calls a folder dialog without a caption.
const QString FolderCaption = QStringLiteral("Find Directory");

/// Status in the place of one that no program returns: the program did not end by itself.
constexpr int StillRunning = 99;

const QString LightSettings = QStringLiteral("Resources/plugins/NightLighting/settings.ini");
const QString CloudColours = QStringLiteral("Output/preferences/Cloud Colours.prf");

void press(QWidget *button)
{
    QVERIFY(button);
    QVERIFY(button->isVisible());
    QVERIFY(button->isEnabled());
    QTest::mouseClick(button, Qt::LeftButton);
}

/// What differs between two trees, by path.
QStringList differences(const QMap<QString, QString> &actual,
                        const QMap<QString, QString> &expected)
{
    QStringList found;
    for (auto entry = actual.begin(); entry != actual.end(); ++entry) {
        if (!expected.contains(entry.key()))
            found.append(QStringLiteral("too much: ") + entry.key());
        else if (expected.value(entry.key()) != entry.value())
            found.append(QStringLiteral("changed: ") + entry.key());
    }
    for (auto entry = expected.begin(); entry != expected.end(); ++entry) {
        if (!actual.contains(entry.key()))
            found.append(QStringLiteral("missing: ") + entry.key());
    }
    return found;
}

QStringList filesOf(const QString &folder)
{
    QStringList files;
    for (const QString &path : fileTree(folder).keys()) {
        if (!path.endsWith(QLatin1Char('/')))
            files.append(path);
    }
    return files;
}

} // namespace

/// Stands for the desktop: remembers the addresses it is asked to open.
class Desktop final : public QObject
{
    Q_OBJECT

public:
    Desktop() { QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler(QStringLiteral("http")); }

    QStringList opened;

public slots:
    void open(const QUrl &url) { opened.append(url.toString()); }
};

/// A walk through the whole program on the demonstration, one start after the other on the same
/// account: each function goes on where the one before it ended. After every step the simulator's
/// folder, "packages.db" and the window have to tell the same.
class WalkTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void firstStartFindsTheSimulator();
    void installationBringsItsDependencies();
    void missingDependencyIsTold();
    void failedDownloadIsToldAndCanBeRepeated();
    void olderVersionBringsItsDependencies();
    void simulatorRuns();
    void updateTellsItsChangesAndKeepsSettings();
    void olderVersionWarnsOfDependents();
    void updateBringsTheLibraryBack();
    void removalPutsTheOriginalBack();
    void removalTakesDependentsAlong();
    void helpAndManualAreOpened();
    void silentServerIsTold();
    void cancelledSettingsChangeNothing();
    void newCacheFolderIsTakenWithoutABox();
    void filterIsShown();
    void newSimulatorFolderEndsTheProgram();
    void newLanguageEndsTheProgram();
    void resetEndsTheProgram();

private:
    using Walk = std::function<void(ApplicationWindow &)>;

    /// Runs the program, walks as soon as the list is shown, and closes the window. Returns the
    /// exit status.
    int visit(const Walk &walk);
    /// The same without closing the window: the walk has to bring the program to its end.
    int visitToTheEnd(const Walk &walk);
    int run(const Walk &walk, const std::function<void(ApplicationWindow *)> &end);
    static ApplicationWindow *openWindow();

    /// The simulator's folder, "packages.db" and the cards tell what m_installed tells.
    void compare(const ApplicationWindow &window);
    void compareDisk();
    void compareCards(const ApplicationWindow &window) const;
    /// A start that only looks.
    void compareAfterRestart();
    void waitForRow(int id, int status, const QString &version) const;

    static QListWidget *list(const ApplicationWindow &window);
    static QList<PackageWidget *> cards(const ApplicationWindow &window);
    PackageWidget *card(const ApplicationWindow &window, int id) const;
    static QPushButton *actionOf(const PackageWidget &card);
    PackageDetailWidget *openDetail(ApplicationWindow &window, int id);
    static QPushButton *oldVersion(const PackageDetailWidget &detail, const QString &version);
    void uninstall(ApplicationWindow &window, int id);
    QString namesOf(const QList<int> &ids) const;
    QString nameOf(int id) const;

    void expect(const QString &title, const QString &text, QMessageBox::StandardButton button);
    /// Opens the settings and does this in them; it has to close them.
    void inSettings(ApplicationWindow &window, const std::function<void(QDialog &)> &change);
    /// Presses a "Browse"; what it opens has to be expected before.
    static void browse(QDialog &settings, int selector);
    void chooseFolder(QDialog &settings, int selector, const QString &folder);
    QString stored(const char *key) const;
    static QPushButton *topButton(const ApplicationWindow &window, const QString &name);

    std::unique_ptr<Demonstration> m_demonstration;
    std::unique_ptr<WalkPictures> m_pictures;
    std::unique_ptr<MessageBoxAnswers> m_answers;
    QtMessageHandler m_handlerBefore = nullptr;
    bool m_broken = false;
    QMap<int, QString> m_installed;
    QString m_language = QStringLiteral("en");
};

void WalkTest::initTestCase()
{
    m_demonstration = std::make_unique<Demonstration>();
    QVERIFY(m_demonstration->isReady());
    m_pictures = std::make_unique<WalkPictures>();
    m_handlerBefore = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(m_handlerBefore);
}

void WalkTest::init()
{
    if (m_broken)
        QSKIP("The walk ended at an earlier step");
    m_answers = std::make_unique<MessageBoxAnswers>();
}

void WalkTest::cleanup()
{
    m_answers.reset();
    qInstallMessageHandler(m_handlerBefore);
    qApp->setStyleSheet(QString());
    m_broken = m_broken || QTest::currentTestFailed();
}

void WalkTest::cleanupTestCase()
{
    m_pictures.reset();
    m_demonstration.reset();
}

// Running ----------------------------------------------------------------------------------------

int WalkTest::visit(const Walk &walk)
{
    return run(walk, [](ApplicationWindow *window) {
        if (window)
            window->close();
    });
}

int WalkTest::visitToTheEnd(const Walk &walk)
{
    QTimer watchdog;
    watchdog.setSingleShot(true);
    connect(&watchdog, &QTimer::timeout, this, [] { QCoreApplication::exit(StillRunning); });
    return run(walk, [&watchdog](ApplicationWindow *) { watchdog.start(5000); });
}

int WalkTest::run(const Walk &walk, const std::function<void(ApplicationWindow *)> &end)
{
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        const QPointer<ApplicationWindow> window = openWindow();
        if (!window)
            return;
        timer.stop();
        restoreWindow(*window);
        walk(*window);
        end(window);
    });
    timer.start(2);
    const QString server = m_demonstration->server().url(QStringLiteral("/"));
    const int status =
        StartUp(*qobject_cast<QApplication *>(qApp), {server, QStringLiteral("/usr/bin/7z")}).run();
    const QByteArray log = readFile(m_demonstration->profile().logFile());
    for (const char *complaint :
         {"SQL Error", "QObject::", "QSql", "QTimer", "QPixmap", "QPainter"})
        [&] { QVERIFY2(!log.contains(complaint), log.constData()); }();
    return status;
}

/// The main window, once it stands alone and shows its list.
ApplicationWindow *WalkTest::openWindow()
{
    ApplicationWindow *open = nullptr;
    const QWidgetList widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (widget->isVisible() && qobject_cast<QSplashScreen *>(widget))
            return nullptr;
        auto *window = qobject_cast<ApplicationWindow *>(widget);
        if (window && window->isVisible() && list(*window)->isVisible())
            open = window;
    }
    return open;
}

// Facts ------------------------------------------------------------------------------------------

void WalkTest::compare(const ApplicationWindow &window)
{
    compareDisk();
    if (!QTest::currentTestFailed())
        compareCards(window);
    // An archive goes when it is unpacked.
    const QDir cache(m_demonstration->profile().cacheFolder());
    QCOMPARE(cache.entryList({QStringLiteral("*.7z"), QStringLiteral("*.zip")}), QStringList());
}

void WalkTest::compareDisk()
{
    QMap<int, QString> recorded;
    const auto rows = m_demonstration->rows();
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        if (row->first == Installed)
            recorded.insert(row.key(), row->second);
    }
    QCOMPARE(recorded, m_installed);
    for (const auto &entry : m_demonstration->entries())
        QCOMPARE(m_demonstration->versionOnDisk(entry.id), m_installed.value(entry.id));
    QCOMPARE(differences(fileTree(m_demonstration->simulator()),
                         m_demonstration->expectedSimulator(m_installed)),
             QStringList());
    // Parked files return; the folders they were parked in may stay.
    QCOMPARE(filesOf(m_demonstration->profile().preserveFolder()), QStringList());
}

void WalkTest::compareCards(const ApplicationWindow &window) const
{
    const auto shown = cards(window);
    const auto &entries = m_demonstration->entries();
    QCOMPARE(shown.size(), entries.size());
    for (int row = 0; row < shown.size(); ++row) {
        const auto &entry = entries.at(row);
        const PackageWidget &card = *shown.at(row);
        const QString version = m_installed.value(entry.id);
        QString action = QStringLiteral("Download");
        if (!version.isEmpty())
            action =
                version == entry.newest ? QStringLiteral("Installed") : QStringLiteral("Update");
        QCOMPARE(textOf(card, "PackageName"), entry.name(m_language));
        QCOMPARE(textOf(card, "PackageInstalled"), QStringLiteral("Installed : ") + version);
        QCOMPARE(textOf(card, "PackageAvailable"), QStringLiteral("Available : ") + entry.newest);
        QTRY_COMPARE_WITH_TIMEOUT(actionOf(card)->text(), action, Patience);
        QCOMPARE(actionOf(card)->objectName(), action);
        QCOMPARE(actionOf(card)->isEnabled(), action != QLatin1String("Installed"));
        // Its picture came over the network.
        QTRY_VERIFY_WITH_TIMEOUT(child<QLabel>(card, "PackageIcon")->hasScaledContents(), Patience);
    }
}

void WalkTest::compareAfterRestart()
{
    QCOMPARE(visit([this](ApplicationWindow &window) { compare(window); }), 0);
    compareDisk();
}

void WalkTest::waitForRow(int id, int status, const QString &version) const
{
    const QPair<int, QString> row(status, version);
    QTRY_COMPARE_WITH_TIMEOUT(m_demonstration->rows().value(id), row, Patience);
}

QString WalkTest::stored(const char *key) const
{
    const QSettings file(m_demonstration->profile().settingsFile(), QSettings::IniFormat);
    return file.value(QLatin1String(key), QStringLiteral("(missing)")).toString();
}

// Hands ------------------------------------------------------------------------------------------

QListWidget *WalkTest::list(const ApplicationWindow &window)
{
    return child<QListWidget>(window, "PackageList");
}

QList<PackageWidget *> WalkTest::cards(const ApplicationWindow &window)
{
    QList<PackageWidget *> found;
    const QListWidget *shown = list(window);
    for (int row = 0; row < shown->count(); ++row)
        found.append(
            qobject_cast<PackageWidget *>(shown->indexWidget(shown->model()->index(row, 0))));
    return found;
}

PackageWidget *WalkTest::card(const ApplicationWindow &window, int id) const
{
    for (PackageWidget *candidate : cards(window)) {
        if (textOf(*candidate, "PackageName") == nameOf(id))
            return candidate;
    }
    qFatal("No card of package %d", id);
}

QPushButton *WalkTest::actionOf(const PackageWidget &card)
{
    // Its object name follows the state; the other button keeps its own.
    for (QPushButton *button : card.findChildren<QPushButton *>()) {
        if (button->objectName() != QLatin1String("MoreDetail"))
            return button;
    }
    qFatal("The card has no action");
}

PackageDetailWidget *WalkTest::openDetail(ApplicationWindow &window, int id)
{
    press(child<QPushButton>(*card(window, id), "MoreDetail"));
    auto *detail = window.findChild<PackageDetailWidget *>();
    [&] {
        QVERIFY(detail->isVisible());
        QVERIFY(!list(window)->isVisible());
        QCOMPARE(textOf(*detail, "DetailTitle"), nameOf(id));
        QCOMPARE(child<QTabWidget>(*detail, "DetailTabs")->currentIndex(), 0);
        // Its first banner came over the network.
        const auto *banner = child<QLabel>(*detail, "CarouselImage");
        QTRY_VERIFY_WITH_TIMEOUT(!banner->isVisible() ||
                                     (banner->pixmap() && banner->pixmap()->height() > 100),
                                 Patience);
    }();
    return detail;
}

QPushButton *WalkTest::oldVersion(const PackageDetailWidget &detail, const QString &version)
{
    child<QTabWidget>(detail, "DetailTabs")->setCurrentIndex(2);
    for (const auto *row : detail.findChildren<PackageDetailOldVersionWidget *>()) {
        if (textOf(*row, "OldVersionText") == version)
            return child<QPushButton>(*row, "OldVersionButton");
    }
    qFatal("Version %s is not listed", qUtf8Printable(version));
}

void WalkTest::uninstall(ApplicationWindow &window, int id)
{
    const PackageDetailWidget *detail = openDetail(window, id);
    press(child<QPushButton>(*detail, "Uninstall"));
    press(child<QPushButton>(*detail, "BackButton"));
    QVERIFY(list(window)->isVisible());
}

QString WalkTest::nameOf(int id) const
{
    return m_demonstration->entry(id).name(m_language);
}

QString WalkTest::namesOf(const QList<int> &ids) const
{
    QString names;
    for (const int id : ids)
        names += nameOf(id) + QLatin1Char('\n');
    return names;
}

void WalkTest::expect(const QString &title, const QString &text, QMessageBox::StandardButton button)
{
    m_answers->expect(title, text, button);
}

void WalkTest::inSettings(ApplicationWindow &window, const std::function<void(QDialog &)> &change)
{
    m_answers->expectDialog(QStringLiteral("SettingsDialog"), change);
    press(topButton(window, QStringLiteral("Settings")));
}

void WalkTest::browse(QDialog &settings, int selector)
{
    child<QTabWidget>(settings, "SettingsTabs")->setCurrentIndex(1);
    const FileSelector *row = settings.findChildren<FileSelector *>().at(selector);
    press(child<QPushButton>(*row, "FileSelectorBrowse"));
}

void WalkTest::chooseFolder(QDialog &settings, int selector, const QString &folder)
{
    m_pictures->nameBoxes(QStringLiteral("box-folder"));
    m_answers->expectFolder(FolderCaption, folder);
    browse(settings, selector);
}

QPushButton *WalkTest::topButton(const ApplicationWindow &window, const QString &name)
{
    for (QPushButton *button : allChildren<QPushButton>(window, "TopButton")) {
        if (button->accessibleName() == name)
            return button;
    }
    return nullptr;
}

// The walk ---------------------------------------------------------------------------------------

void WalkTest::firstStartFindsTheSimulator()
{
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 compare(window);
                 QVERIFY(m_demonstration->rows().isEmpty());
                 QVERIFY(!QFile::exists(m_demonstration->profile().settingsFile()));
                 m_pictures->take(window, QStringLiteral("list"));
             }),
             0);
    QCOMPARE(m_demonstration->locate().arguments(), QStringList(QStringLiteral("X-Plane-x86_64")));
    QCOMPARE(stored("Installation"), m_demonstration->simulator());
    QCOMPARE(stored("Language"), QStringLiteral("en"));
    QCOMPARE(stored("Cache"), m_demonstration->profile().cacheFolder());
}

void WalkTest::installationBringsItsDependencies()
{
    const QString question = DependencyLead + namesOf({GroundEquipment, Library}) + DependencyTail;
    QCOMPARE(visit([this, question](ApplicationWindow &window) {
                 m_pictures->nameBoxes(QStringLiteral("box-dependencies"));
                 expect(InstallTitle, question, QMessageBox::No);
                 press(actionOf(*card(window, HarbourCity)));
                 QVERIFY(m_answers->allShown());
                 compare(window);

                 expect(InstallTitle, question, QMessageBox::Yes);
                 press(actionOf(*card(window, HarbourCity)));
                 QVERIFY(m_answers->allShown());
                 QVERIFY(!actionOf(*card(window, HarbourCity))->isEnabled());
                 waitForRow(HarbourCity, Installed, QStringLiteral("2.1.0"));
                 m_installed = {{Library, QStringLiteral("1.4.0")},
                                {GroundEquipment, QStringLiteral("2.1.0")},
                                {HarbourCity, QStringLiteral("2.1.0")}};
                 compare(window);
                 m_pictures->take(window, QStringLiteral("list-installed"));
                 openDetail(window, HarbourCity);
                 m_pictures->take(window, QStringLiteral("detail-installed"));
             }),
             0);
    compareAfterRestart();
}

void WalkTest::missingDependencyIsTold()
{
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 m_pictures->nameBoxes(QStringLiteral("box-missing-dependency"));
                 expect(QStringLiteral("Dependencies Error"),
                        QStringLiteral("This package cannot be installed.\n\nOne or more "
                                       "Dependencies for this package are not available to "
                                       "install"),
                        QMessageBox::Ok);
                 press(actionOf(*card(window, DesertStrip)));
                 QVERIFY(m_answers->allShown());
                 QVERIFY(!m_demonstration->rows().contains(DesertStrip));
                 compare(window);
             }),
             0);
}

void WalkTest::failedDownloadIsToldAndCanBeRepeated()
{
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 compare(window);
                 m_demonstration->server().stop();
                 m_pictures->nameBoxes(QStringLiteral("box-download-error"));
                 expect(QStringLiteral("Download Error"),
                        QStringLiteral("Downloading failed for package : ") + nameOf(SeaplaneBase),
                        QMessageBox::Ok);
                 press(actionOf(*card(window, SeaplaneBase)));
                 QVERIFY(m_answers->waitForAll(Patience));
                 waitForRow(SeaplaneBase, DownloadError, QStringLiteral("1.0.0"));
                 QCOMPARE(actionOf(*card(window, SeaplaneBase))->text(),
                          QStringLiteral("Download Error"));
                 QVERIFY(!actionOf(*card(window, SeaplaneBase))->isEnabled());
                 m_pictures->take(window, QStringLiteral("list-download-error"));
                 compareDisk();
             }),
             0);
    QVERIFY(m_demonstration->server().restart());
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 compareDisk();
                 compareCards(window);
                 press(actionOf(*card(window, SeaplaneBase)));
                 waitForRow(SeaplaneBase, Installed, QStringLiteral("1.0.0"));
                 m_installed.insert(SeaplaneBase, QStringLiteral("1.0.0"));
                 compare(window);
             }),
             0);
}

void WalkTest::olderVersionBringsItsDependencies()
{
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 const auto *detail = openDetail(window, HighlandApproach);
                 m_pictures->take(window, QStringLiteral("detail-available"));
                 QPushButton *button = oldVersion(*detail, QStringLiteral("2.2.0"));
                 m_pictures->take(window, QStringLiteral("detail-old-versions"));
                 m_pictures->nameBoxes(QStringLiteral("box-dependencies"));
                 expect(InstallTitle, DependencyLead + namesOf({Library}) + DependencyTail,
                        QMessageBox::Yes);
                 press(button);
                 QVERIFY(m_answers->allShown());
                 waitForRow(HighlandApproach, Installed, QStringLiteral("2.2.0"));
                 QTRY_VERIFY(child<QPushButton>(*detail, "Update"));
                 QVERIFY(child<QPushButton>(*detail, "Uninstall")->isVisible());
                 m_pictures->take(window, QStringLiteral("detail-update"));
                 press(child<QPushButton>(*detail, "BackButton"));

                 detail = openDetail(window, NightLighting);
                 press(oldVersion(*detail, QStringLiteral("1.5.1")));
                 waitForRow(NightLighting, Installed, QStringLiteral("1.5.1"));
                 press(child<QPushButton>(*detail, "BackButton"));

                 press(actionOf(*card(window, CloudPainter)));
                 waitForRow(CloudPainter, Installed, QStringLiteral("0.9.4"));
                 m_installed.insert(HighlandApproach, QStringLiteral("2.2.0"));
                 m_installed.insert(NightLighting, QStringLiteral("1.5.1"));
                 m_installed.insert(CloudPainter, QStringLiteral("0.9.4"));
                 compare(window);
                 // The original is safe before anybody changes it.
                 QCOMPARE(readFile(m_demonstration->profile().backupFolder() + CloudColours),
                          readFile(m_demonstration->simulator() + CloudColours));
             }),
             0);
    compareAfterRestart();
}

/// The simulator writes the light plug-in's settings and drops the colours that the cloud plug-in
/// replaces.
void WalkTest::simulatorRuns()
{
    const QString folder = m_demonstration->simulator();
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 press(child<QPushButton>(window, "XPlaneButton"));
                 QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(folder + CloudColours), Patience);
             }),
             0);
    QCOMPARE(readFile(folder + LightSettings), QByteArray("[Lights]\nBrightness=80\n"));
    QVERIFY(readFile(folder + QStringLiteral("Log.txt")).endsWith("started\n"));
    for (const QString &file : {LightSettings, CloudColours, QStringLiteral("Log.txt")})
        m_demonstration->rememberFile(file);
    compareDisk();
}

void WalkTest::updateTellsItsChangesAndKeepsSettings()
{
    const QString highlandChanges =
        ChangeLogHead + QStringLiteral("<strong>3.0.1</strong><ul><li>The wind sock turns with the "
                                       "wind again</li></ul>");
    const QString lightChanges =
        ChangeLogHead + QStringLiteral("<strong>1.6.0</strong><ul><li>Approach lights follow the "
                                       "weather</li><li>Settings can be changed in "
                                       "flight</li></ul>");
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 compare(window);
                 m_pictures->take(window, QStringLiteral("list-updates"));
                 m_pictures->nameBoxes(QStringLiteral("box-change-log"));
                 expect(ChangeLogTitle, highlandChanges, QMessageBox::No);
                 press(actionOf(*card(window, HighlandApproach)));
                 QVERIFY(m_answers->allShown());
                 compare(window);

                 expect(ChangeLogTitle, highlandChanges, QMessageBox::Yes);
                 expect(InstallTitle, DependencyLead + namesOf({Library}) + DependencyTail,
                        QMessageBox::Yes);
                 press(actionOf(*card(window, HighlandApproach)));
                 QVERIFY(m_answers->allShown());
                 waitForRow(HighlandApproach, Installed, QStringLiteral("3.0.1"));

                 expect(ChangeLogTitle, lightChanges, QMessageBox::Yes);
                 const auto *detail = openDetail(window, NightLighting);
                 press(child<QPushButton>(*detail, "Update"));
                 QVERIFY(m_answers->allShown());
                 waitForRow(NightLighting, Installed, QStringLiteral("1.6.0"));
                 QTRY_VERIFY(child<QPushButton>(*detail, "Installed"));
                 QVERIFY(!child<QPushButton>(*detail, "Installed")->isEnabled());
                 press(child<QPushButton>(*detail, "BackButton"));

                 m_installed.insert(HighlandApproach, QStringLiteral("3.0.1"));
                 m_installed.insert(NightLighting, QStringLiteral("1.6.0"));
                 compare(window);
                 QCOMPARE(readFile(m_demonstration->simulator() + LightSettings),
                          QByteArray("[Lights]\nBrightness=80\n"));
             }),
             0);
    compareAfterRestart();
}

void WalkTest::olderVersionWarnsOfDependents()
{
    // Highland Approach is content with 1.2.0.
    const QString warning = OlderLead + namesOf({HarbourCity, GroundEquipment});
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 const auto *detail = openDetail(window, Library);
                 m_pictures->nameBoxes(QStringLiteral("box-older-version"));
                 expect(InstallTitle, warning, QMessageBox::No);
                 press(oldVersion(*detail, QStringLiteral("1.2.0")));
                 QVERIFY(m_answers->allShown());
                 compareDisk();
                 expect(InstallTitle, warning, QMessageBox::Yes);
                 press(oldVersion(*detail, QStringLiteral("1.2.0")));
                 QVERIFY(m_answers->allShown());
                 waitForRow(Library, Installed, QStringLiteral("1.2.0"));
                 QTRY_VERIFY(child<QPushButton>(*detail, "Update"));
                 press(child<QPushButton>(*detail, "BackButton"));
                 m_installed.insert(Library, QStringLiteral("1.2.0"));
                 compare(window);
             }),
             0);
    compareAfterRestart();
}

void WalkTest::updateBringsTheLibraryBack()
{
    const QString changes =
        ChangeLogHead + QStringLiteral("<strong>1.4.0</strong><ul><li>Forty new trees</li>"
                                       "<li>People wave at departing aircraft</li></ul>"
                                       "<strong>1.3.2</strong><ul><li>Fences end where they "
                                       "should</li></ul>");
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 m_pictures->nameBoxes(QStringLiteral("box-change-log-of-two"));
                 expect(ChangeLogTitle, changes, QMessageBox::Yes);
                 press(actionOf(*card(window, Library)));
                 QVERIFY(m_answers->allShown());
                 waitForRow(Library, Installed, QStringLiteral("1.4.0"));
                 m_installed.insert(Library, QStringLiteral("1.4.0"));
                 compare(window);
             }),
             0);
}

void WalkTest::removalPutsTheOriginalBack()
{
    const QString backup = m_demonstration->profile().backupFolder() + CloudColours;
    const QByteArray colours = readFile(backup);
    QVERIFY(!colours.isEmpty());
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 m_pictures->nameBoxes(QStringLiteral("box-uninstall"));
                 const QString text = QStringLiteral("Uninstall Cloud Painter from this system");
                 expect(UninstallTitle, text, QMessageBox::No);
                 uninstall(window, CloudPainter);
                 compare(window);
                 expect(UninstallTitle, text, QMessageBox::Yes);
                 uninstall(window, CloudPainter);
                 QCOMPARE(m_demonstration->rows().value(CloudPainter),
                          qMakePair(Available, QStringLiteral("0.9.4")));
                 QCOMPARE(readFile(m_demonstration->simulator() + CloudColours), colours);
                 QVERIFY(!QFile::exists(backup));
                 m_installed.remove(CloudPainter);
                 m_demonstration->rememberFile(CloudColours);
                 compare(window);
             }),
             0);
    compareAfterRestart();
}

void WalkTest::removalTakesDependentsAlong()
{
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 m_pictures->nameBoxes(QStringLiteral("box-uninstall-dependents"));
                 expect(UninstallTitle,
                        QStringLiteral("Uninstall Kavo Library from this system") + DependentsLead +
                            namesOf({HarbourCity, HighlandApproach, GroundEquipment}),
                        QMessageBox::Yes);
                 uninstall(window, Library);
                 QVERIFY(m_answers->allShown());
                 for (const int id : {Library, HarbourCity, HighlandApproach, GroundEquipment}) {
                     QCOMPARE(m_demonstration->rows().value(id),
                              qMakePair(Available, m_installed.take(id)));
                 }
                 compare(window);
             }),
             0);
    compareAfterRestart();
}

void WalkTest::helpAndManualAreOpened()
{
    Desktop desktop;
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 const auto *detail = openDetail(window, NightLighting);
                 press(child<QPushButton>(*detail, "GetHelp"));
                 press(child<QPushButton>(*detail, "Manual"));
                 child<QTabWidget>(*detail, "DetailTabs")->setCurrentIndex(1);
                 QCOMPARE(textOf(*detail, "ChangeLogText"),
                          QStringLiteral("<strong>1.6.0</strong><ul><li>Approach lights follow the "
                                         "weather</li><li>Settings can be changed in flight</li>"
                                         "</ul><strong>1.5.1</strong><ul><li>The lights go out at "
                                         "sunrise</li></ul>"));
                 m_pictures->take(window, QStringLiteral("detail-change-log"));
             }),
             0);
    const auto &entry = m_demonstration->entry(NightLighting);
    QCOMPARE(desktop.opened, QStringList({entry.help, entry.manual}));
}

void WalkTest::silentServerIsTold()
{
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 m_demonstration->server().stop();
                 press(topButton(window, QStringLiteral("Refresh")));
                 auto *message = child<QLabel>(window, "ProcessingMessage");
                 for (QLabel *label : allChildren<QLabel>(window, "ProcessingMessage")) {
                     if (!window.findChild<PackageDetailWidget *>()->isAncestorOf(label))
                         message = label;
                 }
                 m_pictures->take(window, QStringLiteral("refreshing"));
                 QTRY_VERIFY_WITH_TIMEOUT(message->isVisible(), Patience);
                 QVERIFY(!message->text().isEmpty());
                 QVERIFY(!list(window)->isVisible());
                 m_pictures->take(window, QStringLiteral("error"));
                 QVERIFY(m_demonstration->server().restart());
                 press(topButton(window, QStringLiteral("Refresh")));
                 QTRY_VERIFY_WITH_TIMEOUT(list(window)->isVisible(), Patience);
                 QVERIFY(!message->isVisible());
                 compare(window);
             }),
             0);
}

void WalkTest::cancelledSettingsChangeNothing()
{
    const QString folder = m_demonstration->profile().folder(QStringLiteral("elsewhere"));
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 inSettings(window, [&](QDialog &settings) {
                     auto *tabs = child<QTabWidget>(settings, "SettingsTabs");
                     for (int page = 0; page < tabs->count(); ++page) {
                         tabs->setCurrentIndex(page);
                         m_pictures->take(settings, QStringLiteral("settings-%1").arg(page + 1));
                     }
                     chooseFolder(settings, 1, folder);
                     child<QComboBox>(settings, "LanguageChoice")->setCurrentIndex(1);
                     press(child<QPushButton>(settings, "SettingsCancel"));
                 });
                 QVERIFY(m_answers->allShown());
                 compare(window);
                 // Opened again it shows what is saved.
                 inSettings(window, [this](QDialog &settings) {
                     const FileSelector *cache = settings.findChildren<FileSelector *>().at(1);
                     QCOMPARE(child<QLineEdit>(*cache, "FileSelectorValue")->text(),
                              m_demonstration->profile().cacheFolder());
                     QCOMPARE(child<QComboBox>(settings, "LanguageChoice")->currentIndex(), 0);
                     press(child<QPushButton>(settings, "SettingsCancel"));
                 });
             }),
             0);
    QCOMPARE(stored("Cache"), m_demonstration->profile().cacheFolder());
    QCOMPARE(stored("Language"), QStringLiteral("en"));
}

void WalkTest::newCacheFolderIsTakenWithoutABox()
{
    const QString folder = m_demonstration->profile().folder(QStringLiteral("new-cache"));
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 inSettings(window, [&](QDialog &settings) {
                     chooseFolder(settings, 1, folder.chopped(1));
                     press(child<QPushButton>(settings, "SettingsOk"));
                 });
                 // Nothing but the folder was asked for.
                 QVERIFY(m_answers->allShown());
                 QVERIFY(m_answers->shown().isEmpty());
                 QCOMPARE(stored("Cache"), folder);
                 QTRY_VERIFY_WITH_TIMEOUT(list(window)->isVisible(), Patience);
                 compare(window);
             }),
             0);
    QCOMPARE(stored("Cache"), folder);
    compareAfterRestart();
    // The pictures of the cards came into it.
    QVERIFY(QFile::exists(folder + QStringLiteral("cloud-painter.png")));
}

void WalkTest::filterIsShown()
{
    {
        QSettings file(m_demonstration->profile().settingsFile(), QSettings::IniFormat);
        file.setValue(QStringLiteral("ShowFilter"), QStringLiteral("true"));
    }
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 QVERIFY(child<QWidget>(window, "PackageSidebar")->isVisible());
                 QVERIFY(child<QLineEdit>(window, "SearchField")->isVisible());
                 compare(window);
                 m_pictures->take(window, QStringLiteral("list-filter"));
             }),
             0);
    QCOMPARE(stored("ShowFilter"), QStringLiteral("true"));
}

/// The folder test of the settings is another one than that of the start.
void WalkTest::newSimulatorFolderEndsTheProgram()
{
    const QString folder = m_demonstration->profile().folder(QStringLiteral("other-simulator"));
    const QString former = m_demonstration->simulator();
    QCOMPARE(visit([&](ApplicationWindow &window) {
                 inSettings(window, [&](QDialog &settings) {
                     m_pictures->nameBoxes(QStringLiteral("box-invalid-folder"));
                     m_answers->expectFolder(FolderCaption, folder);
                     expect(QStringLiteral("Invalid Folder"),
                            QStringLiteral("Oops...this doesn't seem to be a XPlane installation "
                                           "folder."),
                            QMessageBox::Ok);
                     browse(settings, 0);
                     QVERIFY(m_answers->allShown());
                     press(child<QPushButton>(settings, "SettingsOk"));
                 });
                 QVERIFY(m_answers->allShown());
                 compare(window);
             }),
             0);
    QCOMPARE(stored("Installation"), former);

    QVERIFY(writeFile(folder + QStringLiteral("X-Plane.exe"), "x"));
    QVERIFY(!m_demonstration->rows().isEmpty());
    QCOMPARE(visitToTheEnd([&](ApplicationWindow &window) {
                 inSettings(window, [&](QDialog &settings) {
                     chooseFolder(settings, 0, folder.chopped(1));
                     m_pictures->nameBoxes(QStringLiteral("box-new-simulator-folder"));
                     expect(QString(), InstallationText, QMessageBox::No);
                     press(child<QPushButton>(settings, "SettingsOk"));
                     QVERIFY(settings.isVisible());
                     QVERIFY(!m_demonstration->rows().isEmpty());
                     expect(QString(), InstallationText, QMessageBox::Yes);
                     expect(QString(), ClosingText, QMessageBox::Ok);
                     press(child<QPushButton>(settings, "SettingsOk"));
                     QVERIFY(!settings.isVisible());
                 });
                 QVERIFY(m_answers->allShown());
             }),
             0);
    QVERIFY(m_demonstration->rows().isEmpty());
    QCOMPARE(stored("Installation"), folder);
    // Nothing is installed there.
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 for (const PackageWidget *shown : cards(window))
                     QCOMPARE(actionOf(*shown)->text(), QStringLiteral("Download"));
             }),
             0);
    QCOMPARE(fileTree(folder).keys(), QStringList(QStringLiteral("X-Plane.exe")));
    {
        QSettings file(m_demonstration->profile().settingsFile(), QSettings::IniFormat);
        file.setValue(QStringLiteral("Installation"), former);
    }
    // The version files tell what the lost database knew.
    compareAfterRestart();
}

void WalkTest::newLanguageEndsTheProgram()
{
    QCOMPARE(visitToTheEnd([this](ApplicationWindow &window) {
                 inSettings(window, [this](QDialog &settings) {
                     auto *choice = child<QComboBox>(settings, "LanguageChoice");
                     choice->setCurrentIndex(1);
                     m_pictures->nameBoxes(QStringLiteral("box-new-language"));
                     expect(QString(), LanguageText, QMessageBox::No);
                     press(child<QPushButton>(settings, "SettingsOk"));
                     QVERIFY(settings.isVisible());
                     QCOMPARE(stored("Language"), QStringLiteral("en"));
                     expect(QString(), LanguageText, QMessageBox::Yes);
                     expect(QString(), ClosingText, QMessageBox::Ok);
                     press(child<QPushButton>(settings, "SettingsOk"));
                     QVERIFY(!settings.isVisible());
                 });
                 QVERIFY(m_answers->allShown());
             }),
             0);
    QCOMPARE(stored("Language"), QStringLiteral("de"));
    QVERIFY(m_demonstration->rows().isEmpty());
    m_language = QStringLiteral("de");
    QCOMPARE(visit([this](ApplicationWindow &window) {
                 compare(window);
                 m_pictures->take(window, QStringLiteral("list-german"));
             }),
             0);
}

void WalkTest::resetEndsTheProgram()
{
    QCOMPARE(visitToTheEnd([this](ApplicationWindow &window) {
                 m_pictures->nameBoxes(QStringLiteral("box-reset"));
                 expect(ResetTitle, ResetText, QMessageBox::No);
                 press(topButton(window, QStringLiteral("Reset")));
                 QVERIFY(m_answers->allShown());
                 compare(window);
                 QCOMPARE(stored("Language"), QStringLiteral("de"));

                 expect(ResetTitle, ResetText, QMessageBox::Yes);
                 press(topButton(window, QStringLiteral("Reset")));
                 QVERIFY(m_answers->allShown());
             }),
             0);
    QVERIFY(m_demonstration->rows().isEmpty());
    QVERIFY(
        !QFile::exists(m_demonstration->profile().dataFolder() + QStringLiteral("packages.db")));
    for (const char *key :
         {"Installation", "Language", "Cache", "Preserve", "Backup", "ShowFilter"})
        QCOMPARE(stored(key), QString());
    // The next start begins like the first one, and finds again what was installed.
    m_language = QStringLiteral("en");
    compareAfterRestart();
    QCOMPARE(stored("Installation"), m_demonstration->simulator());
    QCOMPARE(stored("Cache"), m_demonstration->profile().cacheFolder());
}

KAVO_TEST_MAIN(WalkTest)
#include "WalkTest.moc"

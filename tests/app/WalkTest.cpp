#include "tests/app/Walk.h"
#include "app/ScreenScale.h"
#include "components/FileSelector.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/StandInLocate.h"
#include "tests/support/WithoutRights.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/PackageWidget.h"
#include "ui/window/ApplicationWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QProgressBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QtTest>

using namespace Kavo::Testing;
using Kavo::Components::FileSelector;
using Kavo::Ui::PackageWidget;

namespace {

const QString LightSettings = "Resources/plugins/NightLighting/settings.ini"_s;
const QString CloudColours = "Output/preferences/Cloud Colours.prf"_s;

const QString LightChanges = "<strong>1.6.0</strong><ul><li>Approach lights follow the weather</li>"
                             "<li>Settings can be changed in flight</li></ul>"_s;

/// Slow enough to observe a download before it is complete.
constexpr int BytesASecond = 1500000;

} // namespace

/// A stand-in for the desktop that records the addresses to open.
class Desktop final : public QObject
{
    Q_OBJECT

public:
    Desktop() { QDesktopServices::setUrlHandler("http"_s, this, "open"); }
    ~Desktop() override { QDesktopServices::unsetUrlHandler("http"_s); }

    QStringList opened;

public slots:
    void open(const QUrl &url) { opened.append(url.toString()); }
};

/// A test of the whole program on the demonstration. The program starts several times on the same
/// account, and each function continues where the previous one ended. Takes the pictures of all
/// screens and boxes.
class WalkTest final : public Walk
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(m_demonstration->isReady()); }
    void init() { beginPart(); }
    void cleanup() { endPart(); }

    void missingSimulatorEndsTheProgram()
    {
        const StandInLocate nothing({}, 1);
        expect(text("Auto-dectection failed"),
               text("Unable to determine XPlane installation path.\n\n"
                    "Please select the XPlane folder in the next dialog"),
               QMessageBox::Ok, "box-detection"_s);
        expectFolder(text("Select the XPlane folder"), QString(), "box-select-simulator"_s);
        expect(text("Dectection failed"),
               text("Unable to determine XPlane installation path.\n\n"
                    "Application cannot continue further."),
               QMessageBox::Ok, "box-detection-failed"_s);
        QCOMPARE(start([] {}), 1);
        QVERIFY(m_answers->allShown());
    }

    void firstStartFindsTheSimulator()
    {
        visit([this] {
            QVERIFY(rows().isEmpty());
            takePicture("list");
        });
        QCOMPARE(m_demonstration->locate().arguments(), QStringList("X-Plane-x86_64"_s));
        QCOMPARE(stored("Installation"), simulator());
        QCOMPARE(stored("Language"), m_language);
        QCOMPARE(stored("Cache"), profile().cacheFolder());
    }

    void missingDependencyIsReported()
    {
        visit([this] {
            expect(text("Dependencies Error"),
                   text("This package cannot be installed.\n\nOne or more Dependencies for this "
                        "package are not available to install"),
                   QMessageBox::Ok, "box-missing-dependency"_s);
            pressAndAnswer(action(DesertStrip));
            QVERIFY(!rows().contains(DesertStrip));
        });
    }

    void installationIncludesDependencies()
    {
        QVERIFY(server().limitRate(BytesASecond));
        visit([this] {
            expectDependencies({GroundEquipment, Library}, QMessageBox::No, "box-dependencies"_s);
            pressAndAnswer(action(HarbourCity));
            compare();

            expectDependencies({GroundEquipment, Library}, QMessageBox::Yes);
            pressAndAnswer(action(HarbourCity));
            QVERIFY(!action(HarbourCity)->isEnabled());
            const auto *progress = child<QProgressBar>(*card(HarbourCity), "PackageProgress");
            QTRY_VERIFY_WITH_TIMEOUT(
                progress->maximum() > 0 && progress->value() * 2 > progress->maximum(), Patience);
            QCOMPARE(row(HarbourCity), qMakePair(int(Downloading), "2.1.0"_s));
            takePicture("list-downloading");
            openDetail(HarbourCity);
            takePicture("detail-downloading");
            waitForInstallation(HarbourCity, "2.1.0"_s);
            m_installed.insert(Library, "1.4.0"_s);
            m_installed.insert(GroundEquipment, "2.1.0"_s);
            QTRY_VERIFY(detailButton("Installed"));
            takePicture("detail-installed");
            closeDetail();
            compare();
            takePicture("list-installed");
        });
        QVERIFY(server().limitRate(0));
    }

    /// The stand-in for 7-Zip runs until the test lets it fail.
    void failedInstallationIsReported()
    {
        const QString folder = profile().folder("home/extractor"_s);
        const QString standard = m_extractor;
        m_extractor = folder + "extract"_s;
        QVERIFY(writeFile(m_extractor, "#!/bin/sh\n"
                                       "cd \"$(dirname \"$0\")\"\n"
                                       "touch started\n"
                                       "until [ -e may-end ]; do sleep 0.02; done\n"
                                       "exit 2\n"));
        setMode(m_extractor, 0700);
        visit([&] {
            press(action(SeaplaneBase));
            QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(folder + "started"_s), Patience);
            QCOMPARE(row(SeaplaneBase), qMakePair(int(Installing), "1.0.0"_s));
            takePicture("list-installing");
            expect(text("Installation in progress"),
                   text("There is a installation in progress.\n\nTry closing the application after "
                        "the installation is completed"),
                   QMessageBox::Ok, "box-busy"_s);
            m_window->close();
            QVERIFY(m_answers->allShown());
            QVERIFY(m_window->isVisible());

            expectError("Install Error", "Installation failed for package : ", SeaplaneBase,
                        "box-install-error"_s);
            QVERIFY(writeFile(folder + "may-end"_s, QByteArray()));
            QVERIFY(m_answers->waitForAll(Patience));
            waitForRow(SeaplaneBase, InstallError, "1.0.0"_s);
            m_errors.insert(SeaplaneBase, text("Install Error"));
        });
        m_extractor = standard;
    }

    void failedDownloadIsReportedAndCanBeRepeated()
    {
        visit([this] {
            server().stop();
            expectError("Download Error", "Downloading failed for package : ", SeaplaneBase,
                        "box-download-error"_s);
            press(action(SeaplaneBase));
            QVERIFY(m_answers->waitForAll(Patience));
            waitForRow(SeaplaneBase, DownloadError, "1.0.0"_s);
            m_errors.insert(SeaplaneBase, text("Download Error"));
            compareCards();
            takePicture("list-error");
        });
        QVERIFY(server().restart());
        visit([this] {
            press(action(SeaplaneBase));
            waitForInstallation(SeaplaneBase, "1.0.0"_s);
        });
    }

    void olderVersionIncludesDependencies()
    {
        visit([this] {
            openDetail(HighlandApproach);
            showDetails();
            expectDependencies({Library}, QMessageBox::Yes);
            pressAndAnswer(oldVersion("2.2.0"_s));
            waitForInstallation(HighlandApproach, "2.2.0"_s);
            QTRY_VERIFY(detailButton("Update"));
            QVERIFY(detailButton("Uninstall")->isVisible());
            takePicture("detail-update");
            closeDetail();

            openDetail(NightLighting);
            press(oldVersion("1.5.1"_s));
            waitForInstallation(NightLighting, "1.5.1"_s);
            closeDetail();

            press(action(CloudPainter));
            waitForInstallation(CloudPainter, "0.9.4"_s);
            // The original was backed up.
            QCOMPARE(readFile(profile().backupFolder() + CloudColours),
                     readFile(simulator() + CloudColours));
        });
    }

    /// The simulator writes the settings of the light plug-in and deletes the file that the cloud
    /// plug-in has replaced.
    void simulatorRuns()
    {
        const QString folder = simulator();
        visit([&] {
            press(child<QPushButton>(*m_window, "XPlaneButton"));
            QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(folder + CloudColours), Patience);
            QCOMPARE(readFile(folder + LightSettings), QByteArray("[Lights]\nBrightness=80\n"));
            QVERIFY(readFile(folder + "Log.txt"_s).endsWith("started\n"));
            for (const QString &file : {LightSettings, CloudColours, "Log.txt"_s})
                m_demonstration->rememberFile(file);
        });
    }

    void updateShowsItsChangesAndKeepsSettings()
    {
        const QString highlandChanges =
            "<strong>3.0.1</strong><ul><li>The wind sock turns with the wind again</li></ul>"_s;
        visit([&] {
            takePicture("list-updates");
            expectChanges(highlandChanges, QMessageBox::No, "box-change-log"_s);
            pressAndAnswer(action(HighlandApproach));
            compare();

            expectChanges(highlandChanges, QMessageBox::Yes);
            expectDependencies({Library}, QMessageBox::Yes);
            pressAndAnswer(action(HighlandApproach));
            waitForInstallation(HighlandApproach, "3.0.1"_s);

            expectChanges(LightChanges, QMessageBox::Yes);
            openDetail(NightLighting);
            pressAndAnswer(detailButton("Update"));
            waitForInstallation(NightLighting, "1.6.0"_s);
            QTRY_VERIFY(detailButton("Installed"));
            QVERIFY(!detailButton("Installed")->isEnabled());
            closeDetail();
            QCOMPARE(readFile(simulator() + LightSettings),
                     QByteArray("[Lights]\nBrightness=80\n"));
        });
    }

    void olderVersionWarnsOfDependents()
    {
        // Highland Approach is not listed, because version 1.2.0 satisfies its dependency.
        const QString warning =
            "Install older version?\n\nFollowing extensions depend on newer version and may stop "
            "working\n\n"_s +
            namesOf({HarbourCity, GroundEquipment});
        visit([&] {
            openDetail(Library);
            expect(text("Install Package"), warning, QMessageBox::No, "box-older-version"_s);
            pressAndAnswer(oldVersion("1.2.0"_s));
            compareDisk();
            expect(text("Install Package"), warning, QMessageBox::Yes);
            pressAndAnswer(oldVersion("1.2.0"_s));
            waitForInstallation(Library, "1.2.0"_s);
            QTRY_VERIFY(detailButton("Update"));
            closeDetail();
        });
    }

    void updateRestoresTheLibrary()
    {
        visit([this] {
            expectChanges(
                "<strong>1.4.0</strong><ul><li>Forty new trees</li><li>People wave at "
                "departing aircraft</li></ul><strong>1.3.2</strong><ul><li>Fences end where "
                "they should</li></ul>"_s,
                QMessageBox::Yes, "box-change-log-of-two"_s);
            pressAndAnswer(action(Library));
            waitForInstallation(Library, "1.4.0"_s);
        });
    }

    void removalRestoresTheOriginal()
    {
        const QString backup = profile().backupFolder() + CloudColours;
        const QByteArray colours = readFile(backup);
        QVERIFY(!colours.isEmpty());
        visit([&] {
            expectRemoval(removalOf(CloudPainter), QMessageBox::No, "box-uninstall"_s);
            uninstall(CloudPainter);
            compare();

            expectRemoval(removalOf(CloudPainter), QMessageBox::Yes);
            uninstall(CloudPainter);
            QCOMPARE(row(CloudPainter), qMakePair(int(Available), m_installed.take(CloudPainter)));
            QCOMPARE(readFile(simulator() + CloudColours), colours);
            QVERIFY(!QFile::exists(backup));
            m_demonstration->rememberFile(CloudColours);
        });
    }

    void removalIncludesDependents()
    {
        visit([this] {
            expectRemoval(removalOf(Library) +
                              "\n\nFollowing dependent extensions will also be uninstalled\n\n"_s +
                              namesOf({HarbourCity, HighlandApproach, GroundEquipment}),
                          QMessageBox::Yes, "box-uninstall-dependents"_s);
            uninstall(Library);
            for (const int id : {Library, HarbourCity, HighlandApproach, GroundEquipment})
                QCOMPARE(row(id), qMakePair(int(Available), m_installed.take(id)));
        });
    }

    void helpAndManualAreOpened()
    {
        Desktop desktop;
        visit([this] {
            openDetail(NightLighting);
            press(detailButton("GetHelp"));
            press(detailButton("Manual"));
            showDetailTab(1);
            QCOMPARE(textOf(detail(), "ChangeLogText"),
                     LightChanges + "<strong>1.5.1</strong><ul><li>The lights go out at "
                                    "sunrise</li></ul>"_s);
            closeDetail();
        });
        const auto &entry = m_demonstration->entry(NightLighting);
        QCOMPARE(desktop.opened, QStringList({entry.help, entry.manual}));
    }

    /// The simulator may be on a disk that is not mounted.
    void removalWithoutTheSimulatorIsRefused()
    {
        const QString folder = simulator().chopped(1);
        const QString away = folder + " of another disk"_s;
        visit([&] {
            QVERIFY(QDir().rename(folder, away));
            expectRemoval(removalOf(NightLighting), QMessageBox::Yes);
            expectRemoval(
                text("This package cannot be uninstalled now.\n\nThe folder of the simulator "
                     "is not there, or no simulator is in it\n\n") +
                    simulator() + "\n"_s,
                QMessageBox::Ok, "box-missing-simulator"_s);
            uninstall(NightLighting);
            QVERIFY(QDir().rename(away, folder));
        });
    }

    void leftoversOfARemovalAreListed()
    {
        const QString folder = simulator() + m_demonstration->entry(NightLighting).folder;
        const QString home = profile().home();
        QStringList left = QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        left.sort();
        QString lines;
        for (const QString &name : qAsConst(left))
            lines += "\u2022 "_s + folder + name + "\n"_s;
        visit([&] {
            letEverybodyWrite(home);
            setMode(QFileInfo(home).path(), 0755);
            setMode(folder, 0555);
            expectRemoval(removalOf(NightLighting), QMessageBox::Yes);
            expectRemoval(text("The following files and folders could not be removed\n\n") + lines,
                          QMessageBox::Ok, "box-leftovers"_s);
            openDetail(NightLighting);
            {
                const WithoutRights withoutRights;
                pressAndAnswer(detailButton("Uninstall"));
            }
            closeDetail();
            QCOMPARE(row(NightLighting),
                     qMakePair(int(Available), m_installed.take(NightLighting)));
            setMode(folder, 0755);
            QVERIFY(QDir(folder).removeRecursively());
            m_demonstration->rememberFile(LightSettings);
        });
    }

    void stoppedServerIsReported()
    {
        visit([this] {
            server().stop();
            press(topButton("Refresh"));
            takePicture("refreshing");
            const QLabel *message = listMessage();
            QTRY_VERIFY_WITH_TIMEOUT(message->isVisible(), Patience);
            QVERIFY(!message->text().isEmpty());
            QVERIFY(!isListShown());
            takePicture("error");

            QVERIFY(server().restart());
            press(topButton("Refresh"));
            QTRY_VERIFY_WITH_TIMEOUT(isListShown(), Patience);
            QVERIFY(!message->isVisible());
        });
    }

    void cancelledSettingsChangeNothing()
    {
        const QString cacheFolder = profile().cacheFolder();
        int language = -1;
        visit([&] {
            inSettings([&](QDialog &settings) {
                auto *tabs = child<QTabWidget>(settings, "SettingsTabs");
                for (int page = 0; page < tabs->count(); ++page) {
                    tabs->setCurrentIndex(page);
                    takePicture(settings, "settings-%1"_s.arg(page + 1));
                }
                chooseFolder(settings, 1, profile().folder("elsewhere"_s), "box-folder"_s);
                auto *choice = child<QComboBox>(settings, "LanguageChoice");
                language = choice->currentIndex();
                choice->setCurrentIndex(choice->findData(otherLanguage()));
                press(child<QPushButton>(settings, "SettingsCancel"));
            });
            compare();
            // A new dialog shows the saved settings.
            inSettings([&](QDialog &settings) {
                const FileSelector *cache = settings.findChildren<FileSelector *>().at(1);
                QCOMPARE(child<QLineEdit>(*cache, "FileSelectorValue")->text(), cacheFolder);
                QCOMPARE(child<QComboBox>(settings, "LanguageChoice")->currentIndex(), language);
                press(child<QPushButton>(settings, "SettingsCancel"));
            });
        });
        QCOMPARE(stored("Cache"), cacheFolder);
        QCOMPARE(stored("Language"), m_language);
    }

    void newCacheFolderNeedsNoConfirmation()
    {
        const QString folder = profile().folder("new-cache"_s);
        visit([&] {
            inSettings([&](QDialog &settings) {
                chooseFolder(settings, 1, folder.chopped(1));
                press(child<QPushButton>(settings, "SettingsOk"));
            });
            QVERIFY(m_answers->shown().isEmpty());
            QCOMPARE(stored("Cache"), folder);
            QTRY_VERIFY_WITH_TIMEOUT(isListShown(), Patience);
        });
        QCOMPARE(stored("Cache"), folder);
        visit();
        // The icons are stored in the new folder.
        QVERIFY(QFile::exists(folder + "cloud-painter.png"_s));
    }

    void filterIsShown()
    {
        store(profile(), "ShowFilter", "true"_s);
        visit([this] {
            QVERIFY(child<QWidget>(*m_window, "PackageSidebar")->isVisible());
            QVERIFY(child<QLineEdit>(*m_window, "SearchField")->isVisible());
            takePicture("list-filter");
        });
        QCOMPARE(stored("ShowFilter"), "true"_s);
    }

    void folderWithoutASimulatorIsRefused()
    {
        visit([this] {
            inSettings([this](QDialog &settings) {
                expectFolder(QFileDialog::tr("Find Directory"),
                             profile().folder("other-simulator"_s));
                expect(text("Invalid Folder"),
                       text("Oops...this doesn't seem to be a XPlane installation folder."),
                       QMessageBox::Ok, "box-invalid-folder"_s);
                browse(settings, 0);
                QVERIFY(m_answers->allShown());
                press(child<QPushButton>(settings, "SettingsOk"));
            });
        });
        QCOMPARE(stored("Installation"), simulator());
    }

    void refusedResetChangesNothing()
    {
        visit([this] { pressReset(QMessageBox::No, "box-reset"_s); });
        QCOMPARE(stored("Language"), m_language);
        QCOMPARE(stored("ShowFilter"), "true"_s);
    }

    /// The settings check the folder in another way than the start does.
    void newSimulatorFolderEndsTheProgram()
    {
        const QString folder = profile().folder("other-simulator"_s);
        QVERIFY(writeFile(folder + "X-Plane.exe"_s, "x"));
        visitToTheEnd([&] {
            inSettings([&](QDialog &settings) {
                chooseFolder(settings, 0, folder.chopped(1));
                expectRestart("X-Plane path has been changed\n\nProceeding will reset cache & "
                              "databases. Continue ?",
                              "box-new-simulator-folder"_s);
            });
        });
        QVERIFY(rows().isEmpty());
        QCOMPARE(stored("Installation"), folder);
        // Nothing is installed there.
        QCOMPARE(start([this] {
                     for (const PackageWidget *shown : cards())
                         QCOMPARE(actionOf(*shown)->objectName(), "Download"_s);
                     m_window->close();
                 }),
                 0);
        QCOMPARE(fileTree(folder).keys(), QStringList("X-Plane.exe"_s));
        // The installed versions are read from the version files, because the database was deleted.
        store(profile(), "Installation", simulator());
        visit();
    }

    void newLanguageEndsTheProgram()
    {
        visitToTheEnd([this] {
            inSettings([this](QDialog &settings) {
                auto *choice = child<QComboBox>(settings, "LanguageChoice");
                choice->setCurrentIndex(choice->findData(otherLanguage()));
                expectRestart(
                    "Language has been changed\n\nApplication restart neeeded. Continue ?",
                    "box-new-language"_s);
            });
        });
        QCOMPARE(stored("Language"), otherLanguage());
        QVERIFY(rows().isEmpty());
        m_language = otherLanguage();
        visit([this] { takePicture("list-in-another-language"); });
    }

    void resetEndsTheProgram()
    {
        visitToTheEnd([this] { pressReset(QMessageBox::Yes); });
        QVERIFY(!QFile::exists(profile().dataFolder() + "packages.db"_s));
        for (const char *key :
             {"Installation", "Language", "Cache", "Preserve", "Backup", "ShowFilter"})
            QCOMPARE(stored(key), QString());
        // The next start is like the first one, and finds the installed packages.
        m_language = "en"_s;
        visit();
        QCOMPARE(stored("Installation"), simulator());
        QCOMPARE(stored("Cache"), profile().cacheFolder());
    }

private:
    void showDetails()
    {
        takePicture("detail-available");
        QScrollBar *bar = child<QScrollArea>(detail(), "DetailScroll")->verticalScrollBar();
        bar->setValue(bar->maximum());
        takePicture("detail-facts");
        showDetailTab(1);
        takePicture("detail-change-log");
        showDetailTab(2);
        takePicture("detail-old-versions");
    }
    void expectDependencies(const QList<int> &ids, QMessageBox::StandardButton button,
                            const QString &picture = QString())
    {
        expect(text("Install Package"),
               text("This package is dependent on following packages and will be installed if not "
                    "already installed or upgraded if outdated along with this package\n\n") +
                   namesOf(ids) + text("\nContinue?"),
               button, picture);
    }
    void expectChanges(const QString &changes, QMessageBox::StandardButton button,
                       const QString &picture = QString())
    {
        expect(text("Change Log"), "<strong>Install ?</strong>"_s + changes, button, picture);
    }
    void expectError(const char *title, const char *lead, int id, const QString &picture)
    {
        expect(text(title), text(lead) + nameOf(id), QMessageBox::Ok, picture);
    }
    void expectRemoval(const QString &question, QMessageBox::StandardButton button,
                       const QString &picture = QString())
    {
        expect(text("Uninstall Package"), question, button, picture);
    }
    /// Presses OK in the settings twice. If the question is answered with No, the dialog stays open
    /// and nothing changes. If it is answered with Yes, the dialog closes, and a box announces the
    /// end of the program.
    void expectRestart(const char *question, const QString &picture)
    {
        auto *settings = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        auto *ok = child<QPushButton>(*settings, "SettingsOk");
        const auto recorded = rows();
        const QString language = stored("Language");
        QVERIFY(!recorded.isEmpty());
        expect(QString(), text(question), QMessageBox::No, picture);
        pressAndAnswer(ok);
        QVERIFY(settings->isVisible());
        QCOMPARE(rows(), recorded);
        QCOMPARE(stored("Language"), language);
        expect(QString(), text(question), QMessageBox::Yes);
        expect(QString(),
               text("Application will now close. Restart the application for new setting to take "
                    "effect."),
               QMessageBox::Ok, "box-closing"_s);
        pressAndAnswer(ok);
        QVERIFY(!settings->isVisible());
    }
    QString removalOf(int id) const
    {
        return text("Uninstall", "Kavo::Ui::PackageActions") + " "_s + nameOf(id) + " "_s +
               text("from this system");
    }
    void pressReset(QMessageBox::StandardButton answer, const QString &picture = QString())
    {
        expect(text("Reset"),
               text("This action will reset databases and application prefrences.\n\nContinue?"),
               answer, picture);
        pressAndAnswer(topButton("Reset"));
    }
};

/// Creates the application object as the program does, so that QT_SCALE_FACTOR has an effect.
int main(int argc, char **argv)
{
    const ScratchProfile profile;
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const auto application = Kavo::makeScaledApplication(argc, argv);
    WalkTest walk;
    return QTest::qExec(&walk, argc, argv);
}

#include "WalkTest.moc"

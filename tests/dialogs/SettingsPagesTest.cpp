#include "core/Languages.h"
#include "dialogs/DiskSettingsWidget.h"
#include "dialogs/GeneralSettingsWidget.h"
#include "dialogs/PathSettingsWidget.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLineEdit>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Dialogs;
using Kavo::Settings;

namespace {

/// Qt's title for a folder dialog without a caption.
const QString FolderCaption = "Find Directory"_s;

} // namespace

class SettingsPagesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void languagesAreOffered();
    void savedLanguageIsSelected();
    void unknownLanguageSelectsNothing();
    void chosenLanguageIsPending();

    void foldersShowTheSavedValues();
    void chosenWorkingFolderIsPending_data();
    void chosenWorkingFolderIsPending();
    void folderInTheWayOfAnotherIsRefused_data();
    void folderInTheWayOfAnotherIsRefused();
    void simulatorFolderNeedsTheWindowsProgram();
    void simulatorFolderIsPending();
    void cancelledFolderDialogChangesNothing();

    void folderSizesAreShownInTheirOrder();

private:
    QString value(const QWidget &page, int selector) const;
    void browse(const QWidget &page, int selector, const QString &folder);

    std::unique_ptr<ScratchProfile> m_profile;
    QSharedPointer<Settings> m_settings;
};

void SettingsPagesTest::init()
{
    m_profile = std::make_unique<ScratchProfile>();
    m_settings = m_profile->makeSettings();
}

void SettingsPagesTest::cleanup()
{
    m_settings.reset();
    m_profile.reset();
}

QString SettingsPagesTest::value(const QWidget &page, int selector) const
{
    return allChildren<QLineEdit>(page, "FileSelectorValue").at(selector)->text();
}

/// Chooses a folder with the page's selector of this number. An empty path cancels.
void SettingsPagesTest::browse(const QWidget &page, int selector, const QString &folder)
{
    auto *button = allChildren<QPushButton>(page, "FileSelectorBrowse").at(selector);
    MessageBoxAnswers answers;
    answers.expectFolder(FolderCaption, folder);
    button->click();
}

// Fixed, see docs/compatibility.md.
void SettingsPagesTest::languagesAreOffered()
{
    const GeneralSettingsWidget page(m_settings);
    QCOMPARE(page.objectName(), "GeneralSettingsWidget"_s);
    QCOMPARE(textOf(page, "LanguageLabel"), "Language : "_s);
    const auto *choice = child<QComboBox>(page, "LanguageChoice");
    QStringList offered;
    for (int index = 0; index < choice->count(); ++index)
        offered.append(choice->itemData(index).toString());
    QCOMPARE(offered, Kavo::languages());
    QCOMPARE(choice->count(), 2);
    QCOMPARE(choice->itemText(0), "English"_s);
    QCOMPARE(choice->itemData(0).toString(), "en"_s);
    QCOMPARE(choice->itemText(1), "German"_s);
    QCOMPARE(choice->itemData(1).toString(), "de"_s);
}

void SettingsPagesTest::savedLanguageIsSelected()
{
    m_settings->setPending(Settings::LANGUAGE, "de"_s);
    m_settings->apply();
    // An edit that was not committed does not count.
    m_settings->setPending(Settings::LANGUAGE, "en"_s);
    const GeneralSettingsWidget page(m_settings);
    QCOMPARE(child<QComboBox>(page, "LanguageChoice")->currentIndex(), 1);
}

void SettingsPagesTest::unknownLanguageSelectsNothing()
{
    m_settings->setPending(Settings::LANGUAGE, "fr"_s);
    m_settings->apply();
    const GeneralSettingsWidget page(m_settings);
    QCOMPARE(child<QComboBox>(page, "LanguageChoice")->currentIndex(), -1);
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), "fr"_s);
}

void SettingsPagesTest::chosenLanguageIsPending()
{
    const GeneralSettingsWidget page(m_settings);
    child<QComboBox>(page, "LanguageChoice")->setCurrentIndex(1);
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), "de"_s);
    QCOMPARE(m_settings->current(Settings::LANGUAGE), "en"_s);
}

void SettingsPagesTest::foldersShowTheSavedValues()
{
    m_settings->setPending(Settings::CACHE, "/not/committed/"_s);
    const PathSettingsWidget page(m_settings);
    QCOMPARE(page.objectName(), "PathSettingsWidget"_s);
    const QStringList captions{"X-Plane"_s, "Cache"_s, "Preserve"_s, "Backup"_s};
    const Settings::Key keys[] = {Settings::INSTALLATION, Settings::CACHE, Settings::PRESERVE,
                                  Settings::BACKUP};
    const auto labels = allChildren<QLabel>(page, "FileSelectorCaption");
    QCOMPARE(labels.size(), captions.size());
    for (int i = 0; i < labels.size(); ++i) {
        QCOMPARE(labels.at(i)->text(), captions.at(i));
        QCOMPARE(value(page, i), m_settings->current(keys[i]));
    }
}

void SettingsPagesTest::chosenWorkingFolderIsPending_data()
{
    QTest::addColumn<int>("selector");
    QTest::addColumn<int>("key");
    QTest::newRow("Cache") << 1 << int(Settings::CACHE);
    QTest::newRow("Preserve") << 2 << int(Settings::PRESERVE);
    QTest::newRow("Backup") << 3 << int(Settings::BACKUP);
}

void SettingsPagesTest::chosenWorkingFolderIsPending()
{
    QFETCH(int, selector);
    QFETCH(int, key);
    const auto entry = static_cast<Settings::Key>(key);
    const QString folder = m_profile->folder("chosen"_s);
    const QString before = m_settings->current(entry);
    const PathSettingsWidget page(m_settings);
    browse(page, selector, folder);
    QCOMPARE(m_settings->pending(entry), folder);
    QCOMPARE(m_settings->current(entry), before);
}

void SettingsPagesTest::folderInTheWayOfAnotherIsRefused_data()
{
    QTest::addColumn<int>("selector");
    QTest::addColumn<QString>("chosen"); ///< below the folder that holds all four
    QTest::addColumn<QString>("other");  ///< caption, empty when the folder is taken
    const QString preserve = "Preserve"_s;
    const QString backup = "Backup"_s;
    const QString simulator = "X-Plane"_s;
    QTest::newRow("preserve in the simulator") << 2 << "sim" << simulator;
    QTest::newRow("preserve below the simulator") << 2 << "sim/Resources" << simulator;
    QTest::newRow("preserve around the simulator") << 2 << "" << simulator;
    QTest::newRow("preserve as backup") << 2 << "backup" << backup;
    QTest::newRow("preserve below backup") << 2 << "backup/deep" << backup;
    QTest::newRow("preserve by a link") << 2 << "link/deep" << backup;
    QTest::newRow("backup as preserve") << 3 << "preserve" << preserve;
    QTest::newRow("backup below the simulator") << 3 << "sim/Resources" << simulator;
    QTest::newRow("simulator around preserve") << 0 << "preserve/.." << preserve;
    QTest::newRow("simulator below backup") << 0 << "backup/deep" << backup;
    QTest::newRow("cache as the simulator") << 1 << "sim" << simulator;
    QTest::newRow("preserve as cache") << 2 << "cache"
                                       << "Cache"_s;
    QTest::newRow("cache below the simulator") << 1 << "sim/Resources"
                                               << "";
    QTest::newRow("preserve below cache") << 2 << "cache/deep"
                                          << "";
    QTest::newRow("a name that begins alike") << 2 << "backup2"
                                              << "";
}

void SettingsPagesTest::folderInTheWayOfAnotherIsRefused()
{
    QFETCH(int, selector);
    QFETCH(QString, chosen);
    QFETCH(QString, other);
    const Settings::Key keys[] = {Settings::INSTALLATION, Settings::CACHE, Settings::PRESERVE,
                                  Settings::BACKUP};
    const char *names[] = {"sim", "cache", "preserve", "backup"};
    for (int i = 0; i < 4; ++i)
        m_settings->setPending(keys[i], m_profile->folder("all/"_s + QLatin1String(names[i])));
    m_settings->apply();
    const QString all = m_profile->folder("all"_s);
    QVERIFY(QFile::link(all + "backup"_s, all + "link"_s));
    const QString folder = QDir(m_profile->folder("all/"_s + chosen)).absolutePath();
    QVERIFY(writeFile(folder + "/X-Plane.exe"_s, "x"));
    const QString before = m_settings->pending(keys[selector]);
    PathSettingsWidget page(m_settings);
    MessageBoxAnswers answers;
    answers.expectFolder(FolderCaption, folder);
    if (!other.isEmpty())
        answers.expect(
            "Invalid Folder"_s,
            "This folder is that of \"%1\", lies in it or holds it.\n\nChoose one that is apart from the others."_s
                .arg(other),
            QMessageBox::Ok);
    allChildren<QPushButton>(page, "FileSelectorBrowse").at(selector)->click();
    QVERIFY(answers.allShown());
    if (other.isEmpty()) {
        QCOMPARE(m_settings->pending(keys[selector]), folder + QLatin1Char('/'));
        return;
    }
    QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(m_settings->pending(keys[selector]), before);
    QCOMPARE(value(page, selector), before);
}

// Fixed, see docs/compatibility.md.
void SettingsPagesTest::simulatorFolderNeedsTheWindowsProgram()
{
    const QString before = m_settings->pending(Settings::INSTALLATION);
    const QString folder = m_profile->folder("other"_s);
    // The file that the start of the program looks for does not make a folder valid here.
    QVERIFY(writeFile(folder + "X-Plane-x86_64"_s, "x"));
    PathSettingsWidget page(m_settings);
    MessageBoxAnswers answers;
    answers.expectFolder(FolderCaption, folder);
    answers.expect("Invalid Folder"_s,
                   "Oops...this doesn't seem to be a XPlane installation folder."_s,
                   QMessageBox::Ok);
    allChildren<QPushButton>(page, "FileSelectorBrowse").first()->click();
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().first().icon, QMessageBox::Critical);
    QCOMPARE(m_settings->pending(Settings::INSTALLATION), before);
    QCOMPARE(value(page, 0), before);
}

void SettingsPagesTest::simulatorFolderIsPending()
{
    const QString folder = m_profile->folder("other"_s);
    QVERIFY(writeFile(folder + "X-Plane.exe"_s, "x"));
    const PathSettingsWidget page(m_settings);
    browse(page, 0, folder);
    QCOMPARE(m_settings->pending(Settings::INSTALLATION), folder);
}

void SettingsPagesTest::cancelledFolderDialogChangesNothing()
{
    const PathSettingsWidget page(m_settings);
    const QString before = m_settings->pending(Settings::INSTALLATION);
    browse(page, 0, QString());
    QCOMPARE(m_settings->pending(Settings::INSTALLATION), before);
    QCOMPARE(value(page, 0), before);
}

void SettingsPagesTest::folderSizesAreShownInTheirOrder()
{
    QVERIFY(writeFile(m_settings->current(Settings::CACHE) + "a"_s, QByteArray(1024, 'a')));
    QVERIFY(writeFile(m_settings->current(Settings::BACKUP) + "b"_s, QByteArray(1536, 'b')));
    QVERIFY(QDir(m_settings->current(Settings::PRESERVE)).removeRecursively());
    const DiskSettingsWidget page(*m_settings);
    QCOMPARE(page.objectName(), "DiskSettingsWidget"_s);
    auto *grid = qobject_cast<QGridLayout *>(page.layout());
    const auto text = [grid](int row, int column) {
        const auto *label = qobject_cast<QLabel *>(grid->itemAtPosition(row, column)->widget());
        return label->text();
    };
    QCOMPARE(text(0, 0), "Cache"_s);
    QCOMPARE(text(0, 1), "1.00 KB"_s);
    QCOMPARE(text(1, 0), "Backup"_s);
    QCOMPARE(text(1, 1), "1.50 KB"_s);
    QCOMPARE(text(2, 0), "Preserve"_s);
    QCOMPARE(text(2, 1), "0.00 Bytes"_s);
    for (int column = 2; column <= 4; ++column)
        QVERIFY(grid->itemAtPosition(0, column));
}

KAVO_TEST_MAIN(SettingsPagesTest)
#include "SettingsPagesTest.moc"

#include "core/Languages.h"
#include "dialogs/DiskSettingsWidget.h"
#include "dialogs/GeneralSettingsWidget.h"
#include "dialogs/PathSettingsWidget.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLineEdit>

#include <array>
#include <optional>

using namespace Kavo::Testing;
using namespace Kavo::Dialogs;
using Kavo::Settings;

Q_DECLARE_METATYPE(Settings::Key)

namespace {

/// The folder settings in the order of the page.
constexpr std::array Keys{Settings::INSTALLATION, Settings::CACHE, Settings::PRESERVE,
                          Settings::BACKUP};

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
    void conflictingFolderIsRefused_data();
    void conflictingFolderIsRefused();
    void simulatorFolderNeedsTheWindowsProgram();
    void simulatorFolderIsPending();
    void cancelledFolderDialogChangesNothing();

    void folderSizesAreShownInTheirOrder();

private:
    QString value(const QWidget &page, int selector) const;
    void browse(const QWidget &page, int selector, const QString &folder,
                const QString &refusal = QString());

    std::optional<ScratchProfile> m_profile;
    QSharedPointer<Settings> m_settings;
};

void SettingsPagesTest::init()
{
    m_profile.emplace();
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

/// Chooses a folder with the page's selector of this number. An empty path cancels. The selectors
/// set no caption, so the dialog has Qt's title. `refusal` is the text of the message box that
/// follows; empty for none.
void SettingsPagesTest::browse(const QWidget &page, int selector, const QString &folder,
                               const QString &refusal)
{
    MessageBoxAnswers answers;
    answers.expectFolder("Find Directory"_s, folder);
    if (!refusal.isEmpty())
        answers.expect("Invalid Folder"_s, refusal, QMessageBox::Ok);
    allChildren<QPushButton>(page, "FileSelectorBrowse").at(selector)->click();
    QVERIFY(answers.allShown());
    for (const auto &box : answers.shown())
        QCOMPARE(box.icon, QMessageBox::Critical);
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
    m_settings->setPending(Settings::LANGUAGE, "xx"_s);
    m_settings->apply();
    const GeneralSettingsWidget page(m_settings);
    QCOMPARE(child<QComboBox>(page, "LanguageChoice")->currentIndex(), -1);
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), "xx"_s);
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
    const auto labels = allChildren<QLabel>(page, "FileSelectorCaption");
    QCOMPARE(labels.size(), captions.size());
    for (int i = 0; i < labels.size(); ++i) {
        QCOMPARE(labels.at(i)->text(), captions.at(i));
        QCOMPARE(value(page, i), m_settings->current(Keys.at(i)));
    }
}

void SettingsPagesTest::chosenWorkingFolderIsPending_data()
{
    Rows<int, Settings::Key>()
        .row("Cache", 1, Settings::CACHE)
        .row("Preserve", 2, Settings::PRESERVE)
        .row("Backup", 3, Settings::BACKUP);
}

void SettingsPagesTest::chosenWorkingFolderIsPending()
{
    const auto [selector, key] = Rows<int, Settings::Key>::current();
    const QString folder = m_profile->folder("chosen"_s);
    const QString before = m_settings->current(key);
    const PathSettingsWidget page(m_settings);
    browse(page, selector, folder);
    QCOMPARE(m_settings->pending(key), folder);
    QCOMPARE(m_settings->current(key), before);
}

void SettingsPagesTest::conflictingFolderIsRefused_data()
{
    const QString preserve = "Preserve"_s;
    const QString backup = "Backup"_s;
    const QString simulator = "X-Plane"_s;
    const QString none;
    Rows<int, QString, QString>()
        .row("preserve in the simulator", 2, "sim", simulator)
        .row("preserve below the simulator", 2, "sim/Resources", simulator)
        .row("preserve around the simulator", 2, "", simulator)
        .row("preserve as backup", 2, "backup", backup)
        .row("preserve below backup", 2, "backup/deep", backup)
        .row("preserve by a link", 2, "link/deep", backup)
        .row("backup as preserve", 3, "preserve", preserve)
        .row("backup below the simulator", 3, "sim/Resources", simulator)
        .row("simulator around preserve", 0, "preserve/..", preserve)
        .row("simulator below backup", 0, "backup/deep", backup)
        .row("cache as the simulator", 1, "sim", simulator)
        .row("preserve as cache", 2, "cache", "Cache")
        .row("cache below the simulator", 1, "sim/Resources", none)
        .row("preserve below cache", 2, "cache/deep", none)
        .row("a name that begins alike", 2, "backup2", none);
}

/// The chosen folder is relative to the one that contains all four. The third column is the caption
/// of the setting that it conflicts with; empty if it is accepted.
void SettingsPagesTest::conflictingFolderIsRefused()
{
    const auto [selector, chosen, other] = Rows<int, QString, QString>::current();
    const char *names[] = {"sim", "cache", "preserve", "backup"};
    for (int i = 0; i < 4; ++i)
        m_settings->setPending(Keys.at(i), m_profile->folder("all/"_s + QLatin1String(names[i])));
    m_settings->apply();
    const QString all = m_profile->folder("all"_s);
    QVERIFY(QFile::link(all + "backup"_s, all + "link"_s));
    const QString folder = QDir(m_profile->folder("all/"_s + chosen)).absolutePath();
    QVERIFY(writeFile(folder + "/X-Plane.exe"_s, "x"));
    const QString before = m_settings->pending(Keys.at(selector));
    const PathSettingsWidget page(m_settings);
    if (other.isEmpty()) {
        browse(page, selector, folder);
        QCOMPARE(m_settings->pending(Keys.at(selector)), folder + QLatin1Char('/'));
        return;
    }
    browse(page, selector, folder,
           "This folder is that of \"%1\", lies in it or holds it.\n\n"
           "Choose one that is apart from the others."_s.arg(other));
    QCOMPARE(m_settings->pending(Keys.at(selector)), before);
    QCOMPARE(value(page, selector), before);
}

// Fixed, see docs/compatibility.md.
void SettingsPagesTest::simulatorFolderNeedsTheWindowsProgram()
{
    const QString before = m_settings->pending(Settings::INSTALLATION);
    const QString folder = m_profile->folder("other"_s);
    // Start-up accepts a folder with this file, but the settings do not.
    QVERIFY(writeFile(folder + "X-Plane-x86_64"_s, "x"));
    const PathSettingsWidget page(m_settings);
    browse(page, 0, folder, "Oops...this doesn't seem to be a XPlane installation folder."_s);
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

#include "dialogs/SettingsDialog.h"
#include "components/IconFont.h"
#include "core/Settings.h"
#include "tests/components/QuitRequest.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QSettings>
#include <QTabWidget>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Dialogs::SettingsDialog;

namespace {

const QString PathWarning = QStringLiteral(
    "X-Plane path has been changed\n\nProceeding will reset cache & databases. Continue ?");
const QString LanguageWarning =
    QStringLiteral("Language has been changed\n\nApplication restart neeeded. Continue ?");
const QString Closing = QStringLiteral("Application will now close. Restart the application for "
                                       "new setting to take effect.");

} // namespace

class SettingsDialogTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void dialogHasItsLayout();
    void unchangedSettingsAreCommittedWithoutABox();
    void anotherCacheFolderIsCommittedWithoutABox();
    void cancelDropsTheEdits();
    void escapeDropsTheEdits();
    void anotherSimulatorFolderResetsAndQuits();
    void refusedSimulatorFolderLeavesTheDialogOpen();
    void anotherLanguageResetsAndQuits();
    void refusedLanguageLeavesTheDialogOpen();
    void bothChangesAskTwiceAndResetTwice();
    void refusedLanguageKeepsTheResetOfTheFolder();

private:
    void edit(Settings::Key key, const char *value);
    void press(const char *button) { child<QPushButton>(*m_dialog, button)->click(); }
    QString inFile(const char *key) const;
    bool databasesExist() const;

    std::unique_ptr<Engine> m_engine;
    QSharedPointer<Settings> m_settings;
    std::unique_ptr<SettingsDialog> m_dialog;
};

void SettingsDialogTest::init()
{
    Kavo::Components::iconFont()->initFontAwesome();
    m_engine = std::make_unique<Engine>();
    m_settings = m_engine->settings();
    // Both databases exist from here on.
    QVERIFY(m_engine->refresh());
    QVERIFY(databasesExist());
    m_dialog = std::make_unique<SettingsDialog>(sharedController(*m_engine), m_settings);
    m_dialog->show();
}

void SettingsDialogTest::cleanup()
{
    m_dialog.reset();
    m_settings.reset();
    m_engine.reset();
}

void SettingsDialogTest::edit(Settings::Key key, const char *value)
{
    m_settings->setPending(key, QString::fromLatin1(value));
}

QString SettingsDialogTest::inFile(const char *key) const
{
    const QSettings file(m_engine->profile().settingsFile(), QSettings::IniFormat);
    return file.value(QLatin1String(key)).toString();
}

bool SettingsDialogTest::databasesExist() const
{
    const QString folder = m_engine->profile().dataFolder();
    const bool packages = QFile::exists(folder + QStringLiteral("packages.db"));
    const bool downloads = QFile::exists(folder + QStringLiteral("download.db"));
    return packages && downloads;
}

void SettingsDialogTest::dialogHasItsLayout()
{
    KAVO_NEEDS_ICON_FONT();
    QCOMPARE(m_dialog->objectName(), QStringLiteral("SettingsDialog"));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("Settings"));
    QCOMPARE(m_dialog->minimumWidth(), 512);
    const auto *tabs = child<QTabWidget>(*m_dialog, "SettingsTabs");
    QCOMPARE(tabs->count(), 3);
    QCOMPARE(tabs->tabText(0), QStringLiteral("General"));
    QCOMPARE(tabs->tabText(1), QStringLiteral("Paths"));
    QCOMPARE(tabs->tabText(2), QStringLiteral("Disk Usage"));
    QVERIFY(!tabs->isMovable());
    QVERIFY(!tabs->tabsClosable());
    QCOMPARE(child<QPushButton>(*m_dialog, "SettingsOk")->text(), QStringLiteral("Ok"));
    QCOMPARE(child<QPushButton>(*m_dialog, "SettingsCancel")->text(), QStringLiteral("Cancel"));
    for (const char *button : {"SettingsOk", "SettingsCancel"}) {
        QVERIFY(hasHand(*child<QPushButton>(*m_dialog, button)));
        QVERIFY(!child<QPushButton>(*m_dialog, button)->icon().isNull());
    }
}

void SettingsDialogTest::unchangedSettingsAreCommittedWithoutABox()
{
    const MessageBoxAnswers answers;
    QVERIFY(!quits([this] { press("SettingsOk"); }));
    QVERIFY(answers.shown().isEmpty());
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    QCOMPARE(inFile("Language"), QStringLiteral("en"));
}

void SettingsDialogTest::anotherCacheFolderIsCommittedWithoutABox()
{
    edit(Settings::CACHE, "/elsewhere/");
    const MessageBoxAnswers answers;
    QVERIFY(!quits([this] { press("SettingsOk"); }));
    QVERIFY(answers.shown().isEmpty());
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_settings->current(Settings::CACHE), QStringLiteral("/elsewhere/"));
    QCOMPARE(inFile("Cache"), QStringLiteral("/elsewhere/"));
    QVERIFY(databasesExist());
}

void SettingsDialogTest::cancelDropsTheEdits()
{
    edit(Settings::CACHE, "/elsewhere/");
    edit(Settings::LANGUAGE, "de");
    press("SettingsCancel");
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    QCOMPARE(m_settings->pending(Settings::CACHE), m_settings->current(Settings::CACHE));
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), QStringLiteral("en"));
    QCOMPARE(inFile("Cache"), QString());
}

void SettingsDialogTest::escapeDropsTheEdits()
{
    edit(Settings::LANGUAGE, "de");
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), QStringLiteral("en"));
}

void SettingsDialogTest::anotherSimulatorFolderResetsAndQuits()
{
    edit(Settings::INSTALLATION, "/other/simulator/");
    MessageBoxAnswers answers;
    answers.expect(QString(), PathWarning, QMessageBox::Yes);
    answers.expect(QString(), Closing, QMessageBox::Ok);
    QVERIFY(quits([this] { press("SettingsOk"); }));
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().at(0).icon, QMessageBox::Warning);
    QCOMPARE(answers.shown().at(0).defaultButton, QMessageBox::NoButton);
    QCOMPARE(answers.shown().at(1).icon, QMessageBox::Information);
    QVERIFY(!m_dialog->isVisible());
    QVERIFY(!databasesExist());
    QCOMPARE(inFile("Installation"), QStringLiteral("/other/simulator/"));
    QCOMPARE(m_settings->current(Settings::INSTALLATION), QStringLiteral("/other/simulator/"));
}

void SettingsDialogTest::refusedSimulatorFolderLeavesTheDialogOpen()
{
    edit(Settings::INSTALLATION, "/other/simulator/");
    MessageBoxAnswers answers;
    answers.expect(QString(), PathWarning, QMessageBox::No);
    QVERIFY(!quits([this] { press("SettingsOk"); }));
    QVERIFY(m_dialog->isVisible());
    QVERIFY(databasesExist());
    QCOMPARE(m_settings->pending(Settings::INSTALLATION), QStringLiteral("/other/simulator/"));
    QCOMPARE(m_settings->current(Settings::INSTALLATION), m_engine->profile().simulatorFolder());
    QCOMPARE(inFile("Language"), QString());
}

void SettingsDialogTest::anotherLanguageResetsAndQuits()
{
    edit(Settings::LANGUAGE, "de");
    MessageBoxAnswers answers;
    answers.expect(QString(), LanguageWarning, QMessageBox::Yes);
    answers.expect(QString(), Closing, QMessageBox::Ok);
    QVERIFY(quits([this] { press("SettingsOk"); }));
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().at(0).icon, QMessageBox::Warning);
    QVERIFY(!databasesExist());
    QCOMPARE(inFile("Language"), QStringLiteral("de"));
    QVERIFY(!m_dialog->isVisible());
}

void SettingsDialogTest::refusedLanguageLeavesTheDialogOpen()
{
    edit(Settings::LANGUAGE, "de");
    MessageBoxAnswers answers;
    answers.expect(QString(), LanguageWarning, QMessageBox::No);
    QVERIFY(!quits([this] { press("SettingsOk"); }));
    QVERIFY(m_dialog->isVisible());
    QVERIFY(databasesExist());
    QCOMPARE(m_settings->current(Settings::LANGUAGE), QStringLiteral("en"));
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), QStringLiteral("de"));
    QCOMPARE(inFile("Language"), QString());
}

// Fixed, see docs/compatibility.md.
void SettingsDialogTest::bothChangesAskTwiceAndResetTwice()
{
    edit(Settings::INSTALLATION, "/other/simulator/");
    edit(Settings::LANGUAGE, "de");
    MessageBoxAnswers answers;
    answers.expect(QString(), PathWarning, QMessageBox::Yes);
    answers.expect(QString(), LanguageWarning, QMessageBox::Yes);
    answers.expect(QString(), Closing, QMessageBox::Ok);
    QVERIFY(quits([this] { press("SettingsOk"); }));
    QVERIFY(answers.allShown());
    QVERIFY(answers.shown().at(0).isDestroying);
    QVERIFY(!answers.shown().at(1).isDestroying);
    QVERIFY(!databasesExist());
    QCOMPARE(inFile("Language"), QStringLiteral("de"));
    QCOMPARE(inFile("Installation"), QStringLiteral("/other/simulator/"));
}

// Fixed, see docs/compatibility.md.
void SettingsDialogTest::refusedLanguageKeepsTheResetOfTheFolder()
{
    edit(Settings::INSTALLATION, "/other/simulator/");
    edit(Settings::LANGUAGE, "de");
    MessageBoxAnswers answers;
    answers.expect(QString(), PathWarning, QMessageBox::Yes);
    answers.expect(QString(), LanguageWarning, QMessageBox::No);
    QVERIFY(!quits([this] { press("SettingsOk"); }));
    QVERIFY(answers.allShown());
    QVERIFY(m_dialog->isVisible());
    QVERIFY(!databasesExist());
    QCOMPARE(m_settings->current(Settings::LANGUAGE), QStringLiteral("en"));
    QCOMPARE(m_settings->current(Settings::INSTALLATION), m_engine->profile().simulatorFolder());
    QCOMPARE(inFile("Installation"), QString());
}

KAVO_TEST_MAIN(SettingsDialogTest)
#include "SettingsDialogTest.moc"

#include "dialogs/SettingsDialog.h"
#include "components/IconFont.h"
#include "core/Settings.h"
#include "tests/components/QuitRequest.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/Literals.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QSettings>
#include <QTabWidget>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Dialogs::SettingsDialog;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace {

const QString PathWarning =
    "X-Plane path has been changed\n\nProceeding will reset cache & databases. Continue ?"_s;
const QString LanguageWarning =
    "Language has been changed\n\nApplication restart neeeded. Continue ?"_s;
const QString Closing =
    "Application will now close. Restart the application for new setting to take effect."_s;

/// The answers to both questions, the new folder and language, each empty if it is not edited, and
/// whether the edits are committed and the databases are reset.
using Answers =
    Rows<QMessageBox::StandardButton, QMessageBox::StandardButton, QString, QString, bool, bool>;

} // namespace

class SettingsDialogTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void dialogHasItsLayout();
    void otherSettingsAreCommittedWithoutABox();
    void cancelDropsTheEdits_data();
    void cancelDropsTheEdits();
    void answersDecideOnTheEdits_data();
    void answersDecideOnTheEdits();

private:
    void press(const char *button) { child<QPushButton>(*m_dialog, button)->click(); }
    QString inFile(const char *key) const;
    int databases() const;

    std::unique_ptr<Engine> m_engine;
    QSharedPointer<Settings> m_settings;
    std::unique_ptr<SettingsDialog> m_dialog;
};

void SettingsDialogTest::init()
{
    Kavo::Components::iconFont()->initFontAwesome();
    m_engine = std::make_unique<Engine>();
    m_settings = m_engine->settings();
    // Both databases exist from now on.
    QVERIFY(m_engine->refresh());
    QCOMPARE(databases(), 2);
    m_dialog = std::make_unique<SettingsDialog>(sharedController(*m_engine), m_settings);
    m_dialog->show();
}

void SettingsDialogTest::cleanup()
{
    m_dialog.reset();
    m_settings.reset();
    m_engine.reset();
}

QString SettingsDialogTest::inFile(const char *key) const
{
    const QSettings file(m_engine->profile().settingsFile(), QSettings::IniFormat);
    return file.value(QLatin1String(key)).toString();
}

int SettingsDialogTest::databases() const
{
    const QString folder = m_engine->profile().dataFolder();
    return QFile::exists(folder + "packages.db"_s) + QFile::exists(folder + "download.db"_s);
}

void SettingsDialogTest::dialogHasItsLayout()
{
    KAVO_NEEDS_ICON_FONT();
    QCOMPARE(m_dialog->objectName(), "SettingsDialog"_s);
    QCOMPARE(m_dialog->windowTitle(), "Settings"_s);
    QCOMPARE(m_dialog->minimumWidth(), 512);
    const auto *tabs = child<QTabWidget>(*m_dialog, "SettingsTabs");
    QStringList pages;
    for (int page = 0; page < tabs->count(); ++page)
        pages.append(tabs->tabText(page));
    QCOMPARE(pages, QStringList({"General"_s, "Paths"_s, "Disk Usage"_s}));
    QVERIFY(!tabs->isMovable());
    QVERIFY(!tabs->tabsClosable());
    QCOMPARE(child<QPushButton>(*m_dialog, "SettingsOk")->text(), "Ok"_s);
    QCOMPARE(child<QPushButton>(*m_dialog, "SettingsCancel")->text(), "Cancel"_s);
    for (const char *button : {"SettingsOk", "SettingsCancel"}) {
        QVERIFY(hasHand(*child<QPushButton>(*m_dialog, button)));
        QVERIFY(!child<QPushButton>(*m_dialog, button)->icon().isNull());
    }
}

void SettingsDialogTest::otherSettingsAreCommittedWithoutABox()
{
    for (const QString &cache : {m_settings->current(Settings::CACHE), "/elsewhere/"_s}) {
        m_dialog->show();
        m_settings->setPending(Settings::CACHE, cache);
        const MessageBoxAnswers answers;
        QVERIFY(!quits([this] { press("SettingsOk"); }));
        QVERIFY(answers.shown().isEmpty());
        QVERIFY(!m_dialog->isVisible());
        QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
        QCOMPARE(m_settings->current(Settings::CACHE), cache);
        QCOMPARE(inFile("Cache"), cache);
        QCOMPARE(inFile("Language"), "en"_s);
        QCOMPARE(databases(), 2);
    }
}

void SettingsDialogTest::cancelDropsTheEdits_data()
{
    Rows<bool>().row("Cancel", false).row("Escape", true);
}

void SettingsDialogTest::cancelDropsTheEdits()
{
    const auto [byKey] = Rows<bool>::current();
    m_settings->setPending(Settings::CACHE, "/elsewhere/"_s);
    m_settings->setPending(Settings::LANGUAGE, "de"_s);
    if (byKey)
        QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    else
        press("SettingsCancel");
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    QCOMPARE(m_settings->pending(Settings::CACHE), m_settings->current(Settings::CACHE));
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), "en"_s);
    QCOMPARE(inFile("Cache"), QString());
}

void SettingsDialogTest::answersDecideOnTheEdits_data()
{
    constexpr auto NotAsked = QMessageBox::NoButton;
    constexpr auto Yes = QMessageBox::Yes;
    constexpr auto No = QMessageBox::No;
    const QString folder = "/other/simulator/"_s;
    const QString language = "de"_s;
    const QString kept;
    Answers()
        .row("folder", Yes, NotAsked, folder, kept, true, true)
        .row("folder refused", No, NotAsked, folder, kept, false, false)
        .row("language", NotAsked, Yes, kept, language, true, true)
        .row("language refused", NotAsked, No, kept, language, false, false)
        // Fixed, see docs/compatibility.md.
        .row("both", Yes, Yes, folder, language, true, true)
        .row("both, folder refused", No, NotAsked, folder, language, false, false)
        // Fixed, see docs/compatibility.md.
        .row("both, language refused", Yes, No, folder, language, false, true);
}

void SettingsDialogTest::answersDecideOnTheEdits()
{
    const auto [toFolder, toLanguage, folder, language, isCommitted, isReset] = Answers::current();
    const QString before = m_engine->profile().simulatorFolder();
    if (!folder.isEmpty())
        m_settings->setPending(Settings::INSTALLATION, folder);
    if (!language.isEmpty())
        m_settings->setPending(Settings::LANGUAGE, language);
    const QString chosenFolder = m_settings->pending(Settings::INSTALLATION);
    const QString chosenLanguage = m_settings->pending(Settings::LANGUAGE);
    MessageBoxAnswers answers;
    if (toFolder != QMessageBox::NoButton)
        answers.expect(QString(), PathWarning, toFolder);
    if (toLanguage != QMessageBox::NoButton)
        answers.expect(QString(), LanguageWarning, toLanguage);
    if (isCommitted)
        answers.expect(QString(), Closing, QMessageBox::Ok);

    QCOMPARE(quits([this] { press("SettingsOk"); }), isCommitted);
    QVERIFY(answers.allShown());
    for (const auto &box : answers.shown()) {
        const bool isQuestion = box.text != Closing;
        QCOMPARE(box.icon, isQuestion ? QMessageBox::Warning : QMessageBox::Information);
        QCOMPARE(box.isDestroying, box.text == PathWarning);
        QVERIFY(!isQuestion || box.defaultButton == QMessageBox::NoButton);
    }
    QCOMPARE(m_dialog->isVisible(), !isCommitted);
    QCOMPARE(databases(), isReset ? 0 : 2);
    // The refused value can still be edited.
    QCOMPARE(m_settings->pending(Settings::INSTALLATION), chosenFolder);
    QCOMPARE(m_settings->pending(Settings::LANGUAGE), chosenLanguage);
    QCOMPARE(m_settings->current(Settings::INSTALLATION), isCommitted ? chosenFolder : before);
    QCOMPARE(m_settings->current(Settings::LANGUAGE), isCommitted ? chosenLanguage : "en"_s);
    QCOMPARE(inFile("Installation"), isCommitted ? chosenFolder : QString());
    QCOMPARE(inFile("Language"), isCommitted ? chosenLanguage : QString());
}

KAVO_TEST_MAIN(SettingsDialogTest)
#include "SettingsDialogTest.moc"

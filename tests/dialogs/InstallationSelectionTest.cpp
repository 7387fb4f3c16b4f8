#include "dialogs/InstallationSelection.h"
#include "core/Installation.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/LogCapture.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;
using Kavo::Dialogs::selectInstallation;

class InstallationSelectionTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void chosenFolderIsReturned();
    void cancelGivesNothing();
    void wrongFoldersAreRefusedUntilOneFits();
    void executableInASubfolderDoesNotCount();
    void cancelAfterAWrongFolder();

private:
    void expectRefusal(MessageBoxAnswers &answers) const;

    QScopedPointer<ScratchProfile> m_profile;
};

void InstallationSelectionTest::init()
{
    m_profile.reset(new ScratchProfile);
}

void InstallationSelectionTest::cleanup()
{
    m_profile.reset();
}

void InstallationSelectionTest::expectRefusal(MessageBoxAnswers &answers) const
{
    answers.expect("Invalid Folder"_s,
                   "Oops...this doesn't seem to be a XPlane installation folder.\n\nTry again"_s,
                   QMessageBox::Ok);
}

void InstallationSelectionTest::chosenFolderIsReturned()
{
    const LogCapture log;
    MessageBoxAnswers answers;
    answers.expectFolder("Select the XPlane folder"_s, m_profile->simulatorFolder().chopped(1));
    QCOMPARE(selectInstallation(), m_profile->simulatorFolder());
    QVERIFY(answers.allShown());
    QVERIFY(log.contains("Checking directory : "_s + m_profile->simulatorFolder() +
                         simulatorExecutable()));
}

void InstallationSelectionTest::cancelGivesNothing()
{
    const LogCapture log;
    MessageBoxAnswers answers;
    answers.expectFolder("Select the XPlane folder"_s, QString());
    QCOMPARE(selectInstallation(), QString());
    QVERIFY(answers.allShown());
    QCOMPARE(log.count("Checking directory"_s), 0);
}

// Fixed, see docs/compatibility.md.
void InstallationSelectionTest::wrongFoldersAreRefusedUntilOneFits()
{
    const QString wrong = m_profile->folder("wrong"_s).chopped(1);
    const LogCapture log;
    MessageBoxAnswers answers;
    for (int round = 0; round < 2; ++round) {
        answers.expectFolder("Select the XPlane folder"_s, wrong);
        expectRefusal(answers);
    }
    answers.expectFolder("Select the XPlane folder"_s, m_profile->simulatorFolder().chopped(1));
    QCOMPARE(selectInstallation(), m_profile->simulatorFolder());
    QVERIFY(answers.allShown());
    QCOMPARE(log.count("Checking directory : "_s), 3);

    const MessageBoxAnswers::Shown box = answers.shown().first();
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, nullptr);
}

void InstallationSelectionTest::executableInASubfolderDoesNotCount()
{
    const QString inner = m_profile->folder("outer/inner"_s);
    QVERIFY(writeFile(inner + simulatorExecutable(), "x"));
    MessageBoxAnswers answers;
    answers.expectFolder("Select the XPlane folder"_s, m_profile->folder("outer"_s).chopped(1));
    expectRefusal(answers);
    answers.expectFolder("Select the XPlane folder"_s, QString());
    QCOMPARE(selectInstallation(), QString());
    QVERIFY(answers.allShown());
}

void InstallationSelectionTest::cancelAfterAWrongFolder()
{
    MessageBoxAnswers answers;
    answers.expectFolder("Select the XPlane folder"_s, m_profile->home());
    expectRefusal(answers);
    answers.expectFolder("Select the XPlane folder"_s, QString());
    QCOMPARE(selectInstallation(), QString());
    QVERIFY(answers.allShown());
}

KAVO_TEST_MAIN(InstallationSelectionTest)
#include "InstallationSelectionTest.moc"

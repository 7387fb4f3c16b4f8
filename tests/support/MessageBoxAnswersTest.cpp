#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QFileDialog>

using namespace Kavo::Testing;

class MessageBoxAnswersTest final : public QObject
{
    Q_OBJECT

private slots:
    void pressesTheButtonAndRecordsTheBox();
    void choosesAndCancelsFolders();
    void answersOneBoxInsideAnother();
};

void MessageBoxAnswersTest::pressesTheButtonAndRecordsTheBox()
{
    MessageBoxAnswers answers;
    answers.expect(QStringLiteral("Title"), QStringLiteral("Text"), QMessageBox::No);
    QWidget parent;
    QCOMPARE(QMessageBox::question(&parent, QStringLiteral("Title"), QStringLiteral("Text")),
             QMessageBox::No);
    QVERIFY(answers.allShown());
    QCOMPARE(answers.shown().size(), 1);
    const MessageBoxAnswers::Shown box = answers.shown().first();
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.title, QStringLiteral("Title"));
    QCOMPARE(box.text, QStringLiteral("Text"));
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Yes | QMessageBox::No));
    QCOMPARE(box.parent, &parent);
}

void MessageBoxAnswersTest::choosesAndCancelsFolders()
{
    const ScratchProfile profile;
    MessageBoxAnswers answers;
    answers.expectFolder(QStringLiteral("Pick"), profile.simulatorFolder());
    answers.expectFolder(QStringLiteral("Pick"), QString());
    const auto ask = [] {
        return QFileDialog::getExistingDirectory(nullptr, QStringLiteral("Pick"), QString(),
                                                 QFileDialog::ShowDirsOnly);
    };
    QCOMPARE(QDir(ask()), QDir(profile.simulatorFolder()));
    QCOMPARE(ask(), QString());
    QVERIFY(answers.allShown());
}

void MessageBoxAnswersTest::answersOneBoxInsideAnother()
{
    MessageBoxAnswers answers;
    answers.expectDialog(QStringLiteral("Outer"), [](QDialog &dialog) {
        QMessageBox::information(&dialog, QStringLiteral("Inner"), QStringLiteral("Text"));
        dialog.accept();
    });
    answers.expect(QStringLiteral("Inner"), QStringLiteral("Text"), QMessageBox::Ok);
    QDialog outer;
    outer.setObjectName(QStringLiteral("Outer"));
    QCOMPARE(outer.exec(), int(QDialog::Accepted));
    QVERIFY(answers.allShown());
}

KAVO_TEST_MAIN(MessageBoxAnswersTest)
#include "MessageBoxAnswersTest.moc"

#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QFileDialog>
#include <QPointer>
#include <QPushButton>

#include <memory>

using namespace Kavo::Testing;

class MessageBoxAnswersTest final : public QObject
{
    Q_OBJECT

private slots:
    void pressesTheButtonAndRecordsTheBox()
    {
        MessageBoxAnswers answers;
        answers.expect("Title"_s, "Text"_s, QMessageBox::No);
        QWidget parent;
        QCOMPARE(QMessageBox::question(&parent, "Title"_s, "Text"_s), QMessageBox::No);
        QVERIFY(answers.allShown());
        QCOMPARE(answers.shown().size(), 1);
        const MessageBoxAnswers::Shown box = answers.shown().first();
        QCOMPARE(box.icon, QMessageBox::Question);
        QCOMPARE(box.title, "Title"_s);
        QCOMPARE(box.text, "Text"_s);
        QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Yes | QMessageBox::No));
        QCOMPARE(box.parent, &parent);
        QCOMPARE(box.textFormat, Qt::AutoText);
    }

    void handsABoxToTheTest()
    {
        MessageBoxAnswers answers;
        auto parent = std::make_unique<QWidget>();
        answers.expect("Title"_s, "Text"_s,
                       [](QMessageBox &box) { box.button(QMessageBox::Yes)->click(); });
        QCOMPARE(QMessageBox::question(parent.get(), "Title"_s, "Text"_s), QMessageBox::Yes);
        // The handler may delete the box.
        auto *box = new QMessageBox(parent.get());
        box->setText("Text"_s);
        QPointer<QMessageBox> guard = box;
        answers.expect(QString(), "Text"_s, [&parent](QMessageBox &) { parent.reset(); });
        box->exec();
        QVERIFY(!guard);
        QVERIFY(answers.allShown());
    }

    void choosesAndCancelsFolders()
    {
        const ScratchProfile profile;
        MessageBoxAnswers answers;
        answers.expectFolder("Pick"_s, profile.simulatorFolder());
        answers.expectFolder("Pick"_s, QString());
        const auto ask = [] {
            return QFileDialog::getExistingDirectory(nullptr, "Pick"_s, QString(),
                                                     QFileDialog::ShowDirsOnly);
        };
        QCOMPARE(QDir(ask()), QDir(profile.simulatorFolder()));
        QCOMPARE(ask(), QString());
        QVERIFY(answers.allShown());
    }

    void answersOneBoxInsideAnother()
    {
        MessageBoxAnswers answers;
        answers.expectDialog("Outer"_s, [](QDialog &dialog) {
            QMessageBox::information(&dialog, "Inner"_s, "Text"_s);
            dialog.accept();
        });
        answers.expect("Inner"_s, "Text"_s, QMessageBox::Ok);
        QDialog outer;
        outer.setObjectName("Outer"_s);
        QCOMPARE(outer.exec(), int(QDialog::Accepted));
        QVERIFY(answers.allShown());
    }
};

KAVO_TEST_MAIN(MessageBoxAnswersTest)
#include "MessageBoxAnswersTest.moc"

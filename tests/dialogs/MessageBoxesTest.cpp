#include "dialogs/MessageBoxes.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QLabel>
#include <QPointer>
#include <QTimer>

#include <functional>

using namespace Kavo::Testing;
using Kavo::Dialogs::confirm;
using Kavo::Dialogs::showMessage;

namespace {

/// Runs a function on the message box that opens next.
void whenOpened(QObject *context, const std::function<void(QMessageBox &)> &function)
{
    auto *timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [timer, function] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        timer->stop();
        function(*box);
    });
    timer->start(2);
}

const QString Title = QStringLiteral("A title");
const QString Text = QStringLiteral("A text");

} // namespace

class MessageBoxesTest final : public QObject
{
    Q_OBJECT

private slots:
    void messageHasASingleOk();
    void questionHasYesAndNoWithoutDefault();
    void yesConfirms();
    void noDoesNot();
    void escapeAnswersNo();
    void markupInAPlainTextStandsAsItIs();
    void richTextIsRich();
    void destroyedParentAnswersNo();
};

void MessageBoxesTest::messageHasASingleOk()
{
    QWidget parent;
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::Ok);
    showMessage(&parent, QMessageBox::Critical, Title, Text);
    QVERIFY(answers.allShown());
    const auto &shown = answers.shown().first();
    QCOMPARE(shown.icon, QMessageBox::Critical);
    QCOMPARE(shown.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(shown.parent, &parent);
}

void MessageBoxesTest::questionHasYesAndNoWithoutDefault()
{
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::No);
    confirm(nullptr, QMessageBox::Question, Title, Text);
    const auto &shown = answers.shown().first();
    QCOMPARE(shown.icon, QMessageBox::Question);
    QCOMPARE(shown.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(shown.defaultButton, QMessageBox::NoButton);
}

void MessageBoxesTest::yesConfirms()
{
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::Yes);
    QVERIFY(confirm(nullptr, QMessageBox::Question, Title, Text));
}

void MessageBoxesTest::noDoesNot()
{
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::No);
    QVERIFY(!confirm(nullptr, QMessageBox::Question, Title, Text));
}

void MessageBoxesTest::escapeAnswersNo()
{
    bool opened = false;
    whenOpened(this, [&opened](QMessageBox &box) {
        opened = true;
        QTest::keyClick(&box, Qt::Key_Escape);
    });
    QVERIFY(!confirm(nullptr, QMessageBox::Question, Title, Text));
    QVERIFY(opened);
}

void MessageBoxesTest::markupInAPlainTextStandsAsItIs()
{
    for (const bool question : {false, true}) {
        Qt::TextFormat format = Qt::AutoText;
        whenOpened(this, [&format](QMessageBox &box) {
            format = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"))->textFormat();
            box.reject();
        });
        const QString text = QStringLiteral("<b>bold</b>");
        if (question)
            confirm(nullptr, QMessageBox::Question, Title, text);
        else
            showMessage(nullptr, QMessageBox::Information, Title, text);
        QCOMPARE(format, Qt::PlainText);
    }
}

void MessageBoxesTest::richTextIsRich()
{
    Qt::TextFormat format = Qt::AutoText;
    whenOpened(this, [&format](QMessageBox &box) {
        format = box.textFormat();
        box.reject();
    });
    confirm(nullptr, QMessageBox::Question, Title, Text, Qt::RichText);
    QCOMPARE(format, Qt::RichText);
}

void MessageBoxesTest::destroyedParentAnswersNo()
{
    QPointer<QWidget> parent = new QWidget;
    whenOpened(this, [&parent](QMessageBox &) { delete parent.data(); });
    QVERIFY(!confirm(parent, QMessageBox::Question, Title, Text));
    QVERIFY(parent.isNull());

    parent = new QWidget;
    whenOpened(this, [&parent](QMessageBox &) { delete parent.data(); });
    showMessage(parent, QMessageBox::Critical, Title, Text);
    QVERIFY(parent.isNull());
}

KAVO_TEST_MAIN(MessageBoxesTest)
#include "MessageBoxesTest.moc"

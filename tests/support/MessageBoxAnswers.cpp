#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/Literals.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

namespace Kavo::Testing {

namespace {

constexpr int LookInterval = 2;
const char *const AnsweredProperty = "kavoAnswered";

void failTest(const QString &message)
{
    QTest::qFail(qUtf8Printable(message), __FILE__, __LINE__);
}

MessageBoxAnswers::Shown record(const QMessageBox &box)
{
    auto *defaultButton = box.defaultButton();
    const auto *yes = box.button(QMessageBox::Yes);
    return {box.icon(),
            box.windowTitle(),
            box.text(),
            box.standardButtons(),
            defaultButton ? box.standardButton(defaultButton) : QMessageBox::NoButton,
            box.parentWidget(),
            box.informativeText(),
            yes && yes->objectName() == "DestroyingYes"_s,
            box.textFormat()};
}

} // namespace

MessageBoxAnswers::MessageBoxAnswers()
{
    m_timer.setInterval(LookInterval);
    connect(&m_timer, &QTimer::timeout, this, &MessageBoxAnswers::look);
    m_timer.start();
}

MessageBoxAnswers::~MessageBoxAnswers()
{
    for (const Expected &expected : qAsConst(m_expected))
        failTest(R"(Never shown: "%1" "%2")"_s.arg(expected.title, expected.text));
}

void MessageBoxAnswers::expect(const QString &title, const QString &text,
                               QMessageBox::StandardButton button)
{
    m_expected.append({Kind::MESSAGE, title, text, button, {}});
}

void MessageBoxAnswers::expect(const QString &title, const QString &text,
                               const std::function<void(QMessageBox &)> &handle)
{
    const auto asMessage = [handle](QDialog &dialog) {
        handle(static_cast<QMessageBox &>(dialog));
    };
    m_expected.append({Kind::MESSAGE, title, text, QMessageBox::NoButton, asMessage});
}

void MessageBoxAnswers::expectFolder(const QString &caption, const QString &folder)
{
    m_expected.append({Kind::FOLDER, caption, folder, QMessageBox::NoButton, {}});
}

void MessageBoxAnswers::expectDialog(const QString &objectName,
                                     const std::function<void(QDialog &)> &handle)
{
    m_expected.append({Kind::DIALOG, objectName, QString(), QMessageBox::NoButton, handle});
}

bool MessageBoxAnswers::waitForAll(int milliseconds) const
{
    return QTest::qWaitFor([this] { return allShown(); }, milliseconds);
}

void MessageBoxAnswers::look()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (!dialog || dialog->property(AnsweredProperty).toBool())
        return;
    dialog->setProperty(AnsweredProperty, true);
    // An answer may open the next dialog in a nested event loop. A timer does not fire again while
    // its handler is still running, so it would miss that dialog.
    QTimer::singleShot(0, dialog, [this, dialog, guard = QPointer<QObject>(this)] {
        if (guard)
            answer(*dialog);
    });
}

void MessageBoxAnswers::answer(QDialog &dialog)
{
    if (auto *box = qobject_cast<QMessageBox *>(&dialog))
        answerMessage(*box);
    else if (auto *files = qobject_cast<QFileDialog *>(&dialog))
        answerFolder(*files);
    else
        answerDialog(dialog);
}

void MessageBoxAnswers::answerMessage(QMessageBox &box)
{
    m_shown.append(record(box));
    Expected expected;
    if (!takeExpected(Kind::MESSAGE, box.windowTitle(), box.text(), expected)) {
        box.done(QMessageBox::NoButton);
        return;
    }
    if (expected.handle) {
        expected.handle(box);
        return;
    }
    QAbstractButton *button = box.button(expected.button);
    if (button) {
        button->click();
        return;
    }
    failTest(R"(The box "%1" lacks the button to press)"_s.arg(box.windowTitle()));
    box.done(QMessageBox::NoButton);
}

void MessageBoxAnswers::answerFolder(QFileDialog &dialog)
{
    Expected expected;
    if (!takeExpected(Kind::FOLDER, dialog.windowTitle(), QString(), expected) ||
        expected.text.isEmpty()) {
        dialog.reject();
        return;
    }
    auto *edit = dialog.findChild<QLineEdit *>("fileNameEdit"_s);
    if (!edit) {
        failTest("The folder dialog is a native one"_s);
        dialog.reject();
        return;
    }
    edit->setText(expected.text);
    QMetaObject::invokeMethod(&dialog, "accept");
}

void MessageBoxAnswers::answerDialog(QDialog &dialog)
{
    Expected expected;
    if (takeExpected(Kind::DIALOG, dialog.objectName(), QString(), expected))
        expected.handle(dialog);
    else
        dialog.reject();
}

bool MessageBoxAnswers::takeExpected(Kind kind, const QString &title, const QString &text,
                                     Expected &expected)
{
    const bool fits = !m_expected.isEmpty() && m_expected.first().kind == kind &&
                      m_expected.first().title == title &&
                      (kind != Kind::MESSAGE || m_expected.first().text == text);
    if (!fits) {
        failTest(R"(Not expected: "%1" "%2")"_s.arg(title, text));
        return false;
    }
    expected = m_expected.takeFirst();
    return true;
}

} // namespace Kavo::Testing

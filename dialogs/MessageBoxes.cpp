#include "dialogs/MessageBoxes.h"

#include "components/ObjectNameStyle.h"
#include "dialogs/FittingMessageBox.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPointer>

namespace Kavo::Dialogs {

namespace {

constexpr QMessageBox::StandardButtons YesOrNo = QMessageBox::Yes | QMessageBox::No;

QPointer<QMessageBox> makeBox(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                              const QString &text, Qt::TextFormat format,
                              QMessageBox::StandardButtons buttons)
{
    auto *box = new FittingMessageBox(icon, title, buttons, parent);
    // Before the text, whose format is detected when it is set.
    box->setTextFormat(format);
    box->setText(text);
    return box;
}

QMessageBox::StandardButton run(const QPointer<QMessageBox> &box)
{
    box->exec();
    if (!box)
        return QMessageBox::NoButton;
    const QMessageBox::StandardButton answer = box->standardButton(box->clickedButton());
    delete box.data();
    return answer;
}

} // namespace

void showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
                 const QString &informativeText)
{
    const auto box = makeBox(parent, icon, title, text, Qt::PlainText, QMessageBox::Ok);
    if (!informativeText.isEmpty()) {
        box->setInformativeText(informativeText);
        // The label is created with its text and detects the format then.
        box->findChild<QLabel *>(QStringLiteral("qt_msgbox_informativelabel"))
            ->setTextFormat(Qt::PlainText);
    }
    run(box);
}

bool confirm(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
             Qt::TextFormat format)
{
    return run(makeBox(parent, icon, title, text, format, YesOrNo)) == QMessageBox::Yes;
}

bool confirmLoss(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text)
{
    const auto box = makeBox(parent, icon, title, text, Qt::PlainText, YesOrNo);
    Components::restyle(*box->button(QMessageBox::Yes), QStringLiteral("DestroyingYes"));
    return run(box) == QMessageBox::Yes;
}

} // namespace Kavo::Dialogs

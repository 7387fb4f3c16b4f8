#include "dialogs/MessageBoxes.h"

#include <QPointer>

namespace Kavo::Dialogs {

namespace {

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

void showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text)
{
    const QPointer<QMessageBox> box(new QMessageBox(icon, title, text, QMessageBox::Ok, parent));
    box->setTextFormat(Qt::PlainText);
    run(box);
}

bool confirm(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
             Qt::TextFormat format)
{
    const QPointer<QMessageBox> box(
        new QMessageBox(icon, title, text, QMessageBox::Yes | QMessageBox::No, parent));
    box->setTextFormat(format);
    return run(box) == QMessageBox::Yes;
}

} // namespace Kavo::Dialogs

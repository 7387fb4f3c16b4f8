#pragma once

#include <QMessageBox>
#include <QString>

class QWidget;

/// The standard message boxes. They differ from Qt's functions in three ways: texts are plain by
/// default, because names from the catalogue may look like markup; long texts scroll instead of
/// exceeding the screen; and the parent widget may be destroyed while the box is open.
///
/// All functions block in their own event loop; the caller's widgets may be destroyed when they
/// return.
namespace Kavo::Dialogs {

/// Shows a text with an Ok button, and below it further details, if any.
void showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
                 const QString &informativeText = QString());

/// Shows a question with Yes and No and returns whether the answer was Yes. Closing the box or
/// destroying its parent means No.
bool confirm(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
             Qt::TextFormat format = Qt::PlainText);

/// Asks about an action that cannot be undone; the Yes button is red.
bool confirmLoss(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                 const QString &text);

} // namespace Kavo::Dialogs

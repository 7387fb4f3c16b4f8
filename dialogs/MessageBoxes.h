#pragma once

#include <QMessageBox>
#include <QString>

class QWidget;

/// The standard message boxes. They differ from Qt's own functions in three things only: a text is
/// plain unless the caller says otherwise, because names from the catalogue may look like markup,
/// the text of a box that would be too high for the screen scrolls, and the widget the box belongs
/// to may be destroyed while the box is open.
///
/// All functions block in an event loop of their own: when they return, the caller's widgets may be
/// gone.
namespace Kavo::Dialogs {

/// Shows a text with an Ok button, and below it what else there is to say, if anything.
void showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
                 const QString &informativeText = QString());

/// Asks with Yes and No and returns whether the answer was Yes. A box that is closed otherwise, or
/// whose widget is destroyed, answers No.
bool confirm(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &text,
             Qt::TextFormat format = Qt::PlainText);

/// The same about what cannot be undone: its Yes is red.
bool confirmLoss(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                 const QString &text);

} // namespace Kavo::Dialogs

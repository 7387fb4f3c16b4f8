#pragma once

#include <QString>

class QIcon;
class QPushButton;
class QWidget;

/// The push buttons of all screens: a pointing hand over them, and Return presses them as Space
/// does, which Qt provides for in dialogs only.
namespace Kavo::Components {

QPushButton *makeButton(const QString &objectName, const QString &text, const QIcon &icon,
                        QWidget *parent);

/// A button without a text; the name is for those who do not see the icon. Where there is no icon,
/// it is the text.
QPushButton *makeIconButton(const QString &objectName, const QString &name, const QIcon &icon,
                            QWidget *parent);

/// Gives a button of makeIconButton() another icon and name.
void setIconAndName(QPushButton &button, const QIcon &icon, const QString &name);

/// Tells screen readers what a button is about, where several buttons have the same text. To be
/// called again when the text changes.
void nameAfterSubject(QPushButton &button, const QString &subject);

} // namespace Kavo::Components

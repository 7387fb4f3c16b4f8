#pragma once

#include <QString>

class QIcon;
class QPushButton;
class QWidget;

/// The push buttons of all screens: they have the pointing-hand cursor, and Return presses them
/// like Space, which Qt supports only in dialogs.
namespace Kavo::Components {

QPushButton *makeButton(const QString &objectName, const QString &text, const QIcon &icon,
                        QWidget *parent);

/// A button without text; the accessible name describes the icon.
QPushButton *makeIconButton(const QString &objectName, const QString &name, const QIcon &icon,
                            QWidget *parent);

/// Gives a button of makeIconButton() another icon and name.
void setIconAndName(QPushButton &button, const QIcon &icon, const QString &name);

/// Adds the subject of a button to its accessible name, where several buttons have the same text.
/// To be called again when the text changes.
void nameAfterSubject(QPushButton &button, const QString &subject);

} // namespace Kavo::Components

#include "components/Buttons.h"

#include <QPushButton>

namespace Kavo::Components {

QPushButton *makeButton(const QString &objectName, const QString &text, const QIcon &icon,
                        QWidget *parent)
{
    auto *button = new QPushButton(icon, text, parent);
    button->setObjectName(objectName);
    button->setCursor(Qt::PointingHandCursor);
    button->setAutoDefault(true);
    return button;
}

QPushButton *makeIconButton(const QString &objectName, const QString &name, const QIcon &icon,
                            QWidget *parent)
{
    QPushButton *button = makeButton(objectName, QString(), icon, parent);
    setIconAndName(*button, icon, name);
    return button;
}

void setIconAndName(QPushButton &button, const QIcon &icon, const QString &name)
{
    button.setIcon(icon);
    button.setText(icon.isNull() ? name : QString());
    button.setAccessibleName(name);
}

void nameAfterSubject(QPushButton &button, const QString &subject)
{
    button.setAccessibleName(button.text() + QStringLiteral(": ") + subject);
}

} // namespace Kavo::Components

#include "components/ObjectNameStyle.h"

#include <QStyle>

namespace Kavo::Components {

void restyle(QWidget &widget, const QString &objectName)
{
    widget.setObjectName(objectName);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}

} // namespace Kavo::Components

#include "components/PlainToolTip.h"

#include <QTextDocument>
#include <QWidget>

namespace Kavo::Components {

void setPlainToolTip(QWidget &widget, const QString &text)
{
    widget.setToolTip(Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text);
}

} // namespace Kavo::Components

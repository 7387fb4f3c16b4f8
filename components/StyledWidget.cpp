#include "components/StyledWidget.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOption>

namespace Kavo::Components {

StyledWidget::StyledWidget(const QString &objectName, QWidget *parent) : QWidget(parent)
{
    setObjectName(objectName);
}

void StyledWidget::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}

} // namespace Kavo::Components

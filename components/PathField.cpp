#include "components/PathField.h"

#include "components/PlainToolTip.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFrame>

namespace Kavo::Components {

namespace {

/// The margin that Qt leaves before the first character.
constexpr int LeadingGap = 2;

} // namespace

PathField::PathField(QWidget *parent) : QLineEdit(parent)
{
    setEnabled(false);
}

void PathField::setPath(const QString &path)
{
    setText(path);
    setPlainToolTip(*this, path);
}

void PathField::paintEvent(QPaintEvent *event)
{
    QStyleOptionFrame option;
    initStyleOption(&option);
    const QRect place = style()
                            ->subElementRect(QStyle::SE_LineEditContents, &option, this)
                            .adjusted(LeadingGap, 0, -LeadingGap, 0);
    if (fontMetrics().horizontalAdvance(text()) <= place.width()) {
        QLineEdit::paintEvent(event);
        return;
    }
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_PanelLineEdit, &option, &painter, this);
    style()->drawItemText(
        &painter, place, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine),
        palette(), isEnabled(), fontMetrics().elidedText(text(), Qt::ElideMiddle, place.width()),
        QPalette::Text);
}

} // namespace Kavo::Components

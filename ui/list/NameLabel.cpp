#include "ui/list/NameLabel.h"

#include <QPainter>
#include <QStyle>

namespace Kavo::Ui {

NameLabel::NameLabel(const QString &name, QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setText(name);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void NameLabel::paintEvent(QPaintEvent *event)
{
    // Paints only the frame; the text is drawn below.
    QFrame::paintEvent(event); // NOLINT(bugprone-parent-virtual-call)
    QPainter painter(this);
    const QRect area = contentsRect();
    style()->drawItemText(
        &painter, area, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine),
        palette(), isEnabled(), fontMetrics().elidedText(text(), Qt::ElideRight, area.width()),
        foregroundRole());
}

} // namespace Kavo::Ui

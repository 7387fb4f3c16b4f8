#include "ui/list/ElidedLabel.h"

#include <QEvent>

namespace Kavo::Ui {

ElidedLabel::ElidedLabel(const QString &fullText, int margin, QWidget *parent)
    : QLabel(parent)
    , m_fullText(fullText.simplified())
    , m_margin(margin)
{
    setTextFormat(Qt::PlainText);
    setAccessibleName(m_fullText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    elide();
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        elide();
}

void ElidedLabel::elide()
{
    setText(fontMetrics().elidedText(m_fullText, Qt::ElideRight, width() - m_margin));
}

} // namespace Kavo::Ui

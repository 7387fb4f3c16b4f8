#include "ui/detail/FactLabel.h"

#include <QPainter>
#include <QStyle>

namespace Kavo::Ui {

namespace {

/// The position of the value in average characters of the font.
constexpr int ColumnCharacters = 18;

} // namespace

FactLabel::FactLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QSize FactLabel::sizeHint() const
{
    const int width = column() + fontMetrics().horizontalAdvance(value());
    return {qMax(width, QLabel::sizeHint().width()), QLabel::sizeHint().height()};
}

QSize FactLabel::minimumSizeHint() const
{
    return {column(), QLabel::minimumSizeHint().height()};
}

void FactLabel::paintEvent(QPaintEvent *event)
{
    // Paints only the frame; the text is drawn below.
    QFrame::paintEvent(event); // NOLINT(bugprone-parent-virtual-call)
    QPainter painter(this);
    const QRect area = contentsRect();
    const auto draw = [this, &painter](const QRect &rect, const QString &text) {
        style()->drawItemText(&painter, rect, static_cast<int>(Qt::AlignVCenter | Qt::AlignLeading),
                              palette(), isEnabled(), text, foregroundRole());
    };
    draw(area, caption());
    draw(QStyle::visualRect(layoutDirection(), area, area.adjusted(column(), 0, 0, 0)), value());
}

QString FactLabel::caption() const
{
    return text().section(QLatin1Char('\t'), 0, 0);
}

QString FactLabel::value() const
{
    int start = caption().size();
    while (start < text().size() && text().at(start) == QLatin1Char('\t'))
        ++start;
    return text().mid(start);
}

int FactLabel::column() const
{
    return ColumnCharacters * fontMetrics().averageCharWidth();
}

} // namespace Kavo::Ui

#include "components/FocusRing.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QSharedPointer>

namespace Kavo::Components {

namespace {

constexpr int Width = 2;
constexpr int Gap = 2;
/// The corner radius of buttons in the style sheet.
constexpr qreal ButtonRadius = 8;

/// The parent of the ring: as a sibling of the button it would be clipped by the button's parent.
QWidget *groundOf(const QWidget &button)
{
    QWidget *ground = button.parentWidget();
    while (ground && !ground->isWindow()) {
        const auto *area = qobject_cast<QAbstractScrollArea *>(ground->parentWidget());
        if (area && area->viewport() == ground)
            break;
        ground = ground->parentWidget();
    }
    return ground;
}

} // namespace

void FocusRing::follow(QObject *follower)
{
    const auto ring = QSharedPointer<QPointer<FocusRing>>::create();
    connect(qApp, &QApplication::focusChanged, follower, [ring](QWidget *, QWidget *now) {
        delete *ring;
        auto *button = qobject_cast<QPushButton *>(now);
        if (button && !button->isWindow())
            *ring = new FocusRing(button);
    });
    connect(follower, &QObject::destroyed, qApp, [ring] { delete *ring; });
}

FocusRing::FocusRing(QPushButton *button) : QFocusFrame(groundOf(*button)), m_button(button)
{
    setObjectName(QStringLiteral("FocusRing"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    connect(button, &QObject::destroyed, this, &QObject::deleteLater);
    for (QWidget *part = button; part && part != parentWidget(); part = part->parentWidget())
        part->installEventFilter(this);
    place();
}

void FocusRing::setColor(const QColor &color)
{
    m_color = color;
    update();
}

bool FocusRing::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type == QEvent::Move || type == QEvent::Resize || type == QEvent::Show ||
        type == QEvent::Hide)
        place();
    return QWidget::eventFilter(watched, event); // NOLINT(bugprone-parent-virtual-call)
}

void FocusRing::place()
{
    if (!m_button)
        return;
    const QRect button(m_button->mapTo(parentWidget(), QPoint()), m_button->size());
    constexpr int reach = Width + Gap;
    setGeometry(button.adjusted(-reach, -reach, reach, reach));
    setVisible(m_button->isVisibleTo(parentWidget()));
    raise();
}

void FocusRing::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto draw = [this, &painter](const QColor &color, qreal inset) {
        painter.setPen(QPen(color, Width));
        const QRectF place = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
        const qreal radius = ButtonRadius + Width + Gap - inset;
        painter.drawRoundedRect(place, radius, radius);
    };
    draw(Qt::white, Width + Gap / 2.0);
    draw(m_color, Width / 2.0);
}

} // namespace Kavo::Components

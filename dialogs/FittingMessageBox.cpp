#include "dialogs/FittingMessageBox.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

namespace Kavo::Dialogs {

namespace {

/// The part of the available height and width.
constexpr double LargestHeight = 0.7;
constexpr double LargestWidth = 0.9;
/// The minimum visible height of the text.
constexpr int FewestLines = 2;

} // namespace

FittingMessageBox::FittingMessageBox(Icon icon, const QString &title, StandardButtons buttons,
                                     QWidget *parent)
    : QMessageBox(icon, title, QString(), buttons, parent)
    , m_label(findChild<QLabel *>(QStringLiteral("qt_msgbox_label")))
{}

bool FittingMessageBox::event(QEvent *event)
{
    const bool handled = QMessageBox::event(event);
    // After a change of style Qt lays out the box again and puts the text back in its old place.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::StyleChange)
        fit();
    return handled;
}

void FittingMessageBox::showEvent(QShowEvent *event)
{
    // The size must be known before the position is set.
    QEvent request(QEvent::LayoutRequest);
    FittingMessageBox::event(&request);
    QMessageBox::showEvent(event);
}

/// The focus is on a button at first.
void FittingMessageBox::keyPressEvent(QKeyEvent *event)
{
    const bool turnsPage = event->key() == Qt::Key_PageUp || event->key() == Qt::Key_PageDown;
    if (!m_area || !turnsPage) {
        QMessageBox::keyPressEvent(event);
        return;
    }
    m_area->verticalScrollBar()->triggerAction(event->key() == Qt::Key_PageUp
                                                   ? QAbstractSlider::SliderPageStepSub
                                                   : QAbstractSlider::SliderPageStepAdd);
}

void FittingMessageBox::fit()
{
    if (!m_label || !isVisible())
        return;
    if (!m_area && height() > heightLimit())
        makeArea();
    if (m_area && !m_area->isAncestorOf(m_label))
        moveTextIntoArea();
}

QSize FittingMessageBox::available() const
{
    const QScreen *screen = parentWidget() ? parentWidget()->screen() : this->screen();
    return screen->availableGeometry().size();
}

int FittingMessageBox::heightLimit() const
{
    return qRound(available().height() * LargestHeight);
}

void FittingMessageBox::makeArea()
{
    layout()->activate();
    m_area = new QScrollArea(this);
    m_area->setObjectName(QStringLiteral("MessageScroll"));
    m_area->setAccessibleName(windowTitle());
    m_area->setWidgetResizable(true);
    m_area->viewport()->setAutoFillBackground(false);
    m_area->ensurePolished();
    const QSize rest = size() - m_label->size();
    const int frame = 2 * m_area->frameWidth();
    // A text that wraps can do so a little earlier.
    const int bar = m_label->wordWrap() ? 0 : m_area->verticalScrollBar()->sizeHint().width();
    const int widest = qRound(available().width() * LargestWidth) - rest.width();
    const int lowest = FewestLines * fontMetrics().lineSpacing();
    m_area->setFixedSize(qMin(m_label->width() + frame + bar, widest),
                         qMax(heightLimit() - rest.height(), lowest));
}

void FittingMessageBox::moveTextIntoArea()
{
    delete layout()->replaceWidget(m_label, m_area);
    // Otherwise the scroll area would still own the text.
    m_area->takeWidget();
    m_area->setWidget(m_label);
    m_label->setAutoFillBackground(false);
    m_area->show();
    // Qt resizes a visible box at every layout request.
    QEvent request(QEvent::LayoutRequest);
    QMessageBox::event(&request);
}

} // namespace Kavo::Dialogs

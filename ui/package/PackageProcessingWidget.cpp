#include "ui/package/PackageProcessingWidget.h"

#include "components/LoadingAnimation.h"
#include "components/ObjectNameStyle.h"

#include <QLabel>
#include <QVBoxLayout>

namespace Kavo::Ui {

namespace {

constexpr QSize AnimationSize(72, 72);

} // namespace

PackageProcessingWidget::PackageProcessingWidget(QWidget *parent)
    : StyledWidget(QStringLiteral("PackageProcessingWidget"), parent)
    , m_animation(new QLabel(this))
    , m_drawing(new QLabel(this))
    , m_message(new QLabel(this))
{
    m_animation->setObjectName(QStringLiteral("ProcessingAnimation"));
    m_animation->setAttribute(Qt::WA_TranslucentBackground);
    m_animation->setAlignment(Qt::AlignCenter);
    Components::LoadingAnimation::play(*m_animation, AnimationSize);

    // The style sheet selects the drawing by the object name.
    m_drawing->hide();

    m_message->setObjectName(QStringLiteral("ProcessingMessage"));
    m_message->setTextFormat(Qt::PlainText);
    m_message->setAlignment(Qt::AlignCenter);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(8);
    layout->addStretch();
    layout->addWidget(m_animation);
    layout->addWidget(m_drawing, 0, Qt::AlignHCenter);
    layout->addWidget(m_message);
    layout->addStretch();
}

void PackageProcessingWidget::setMode(int mode)
{
    if (mode == HiddenMode) {
        hide();
    } else if (mode == BusyMode) {
        setAccessibleName(tr("Please wait"));
        m_message->hide();
        m_drawing->hide();
        m_animation->show();
        show();
    } else if (mode == EmptyMode || mode == ErrorMode) {
        if (mode == EmptyMode)
            m_message->setText(tr("No items found"));
        setAccessibleName(m_message->text());
        m_animation->hide();
        Components::restyle(*m_drawing, mode == EmptyMode ? QStringLiteral("EmptyDrawing")
                                                          : QStringLiteral("ErrorDrawing"));
        m_drawing->show();
        m_message->show();
        show();
    }
}

void PackageProcessingWidget::setError(const QString &message)
{
    m_message->setText(message);
    setMode(ErrorMode);
}

} // namespace Kavo::Ui

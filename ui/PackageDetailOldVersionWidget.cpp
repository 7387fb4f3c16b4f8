#include "ui/PackageDetailOldVersionWidget.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Kavo::Ui {

PackageDetailOldVersionWidget::PackageDetailOldVersionWidget(const QString &version,
                                                             QWidget *parent)
    : StyledWidget(QStringLiteral("OldVersionWidget"), parent)
    , m_button(new QPushButton(this))
{
    auto *label = new QLabel(this);
    label->setObjectName(QStringLiteral("OldVersionText"));
    label->setTextFormat(Qt::PlainText);
    label->setText(version);

    m_button->setObjectName(QStringLiteral("OldVersionButton"));
    m_button->setCursor(Qt::PointingHandCursor);
    connect(m_button, &QPushButton::clicked, this, &PackageDetailOldVersionWidget::buttonClicked);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(label);
    layout->addStretch();
    layout->addWidget(m_button);
}

void PackageDetailOldVersionWidget::setButtonText(const QString &text)
{
    m_button->setText(text);
}

void PackageDetailOldVersionWidget::setButtonIcon(const QIcon &icon)
{
    m_button->setIcon(icon);
}

} // namespace Kavo::Ui

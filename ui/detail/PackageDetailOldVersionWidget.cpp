#include "ui/detail/PackageDetailOldVersionWidget.h"

#include "components/Buttons.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Kavo::Ui {

PackageDetailOldVersionWidget::PackageDetailOldVersionWidget(const QString &version,
                                                             QWidget *parent)
    : StyledWidget(QStringLiteral("OldVersionWidget"), parent)
    , m_button(Components::makeButton(QStringLiteral("OldVersionButton"), QString(), QIcon(), this))
    , m_version(version)
{
    setAccessibleName(version);
    auto *label = new QLabel(this);
    label->setObjectName(QStringLiteral("OldVersionText"));
    label->setTextFormat(Qt::PlainText);
    label->setText(version);

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
    Components::nameAfterSubject(*m_button, m_version);
}

void PackageDetailOldVersionWidget::setButtonIcon(const QIcon &icon)
{
    m_button->setIcon(icon);
}

} // namespace Kavo::Ui

#include "dialogs/GeneralSettingsWidget.h"

#include "core/Settings.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>

namespace Kavo::Dialogs {

GeneralSettingsWidget::GeneralSettingsWidget(const QSharedPointer<Settings> &settings,
                                             QWidget *parent)
    : StyledWidget(QStringLiteral("GeneralSettingsWidget"), parent)
{
    // Fixed, see docs/compatibility.md.
    auto *label = new QLabel(tr("Language : "), this);
    label->setObjectName(QStringLiteral("LanguageLabel"));

    auto *choice = new QComboBox(this);
    choice->setObjectName(QStringLiteral("LanguageChoice"));
    choice->addItem(tr("English"), QStringLiteral("en"));
    choice->addItem(tr("German"), QStringLiteral("de"));
    choice->setCurrentIndex(choice->findData(settings->current(Settings::LANGUAGE)));
    connect(choice, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [settings, choice](int index) {
                settings->setPending(Settings::LANGUAGE, choice->itemData(index).toString());
            });
    label->setBuddy(choice);

    auto *layout = new QFormLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->addRow(label, choice);
}

} // namespace Kavo::Dialogs

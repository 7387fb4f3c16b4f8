#pragma once

#include "components/StyledWidget.h"

#include <QSharedPointer>

namespace Kavo {
class Settings;
}

namespace Kavo::Dialogs {

/// The page for the language of the interface. Choices are stored in the pending settings.
class GeneralSettingsWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit GeneralSettingsWidget(const QSharedPointer<Settings> &settings,
                                   QWidget *parent = nullptr);
};

} // namespace Kavo::Dialogs

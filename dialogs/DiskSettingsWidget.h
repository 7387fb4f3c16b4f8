#pragma once

#include "components/StyledWidget.h"

class QGridLayout;

namespace Kavo {
class Settings;
}

namespace Kavo::Dialogs {

/// The page that shows the disk usage of the working folders at the time of its creation.
class DiskSettingsWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit DiskSettingsWidget(const Settings &settings, QWidget *parent = nullptr);

private:
    void addFolder(QGridLayout &layout, const QString &caption, const QString &path);
};

} // namespace Kavo::Dialogs

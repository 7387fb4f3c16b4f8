#pragma once

#include "components/StyledWidget.h"

class QGridLayout;

namespace Kavo {
class Settings;
}

namespace Kavo::Dialogs {

/// Page that tells how much disk space the working folders take at the moment it is made.
class DiskSettingsWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit DiskSettingsWidget(const Settings &settings, QWidget *parent = nullptr);

private:
    void addFolder(QGridLayout &layout, const QString &caption, const QString &path);
};

} // namespace Kavo::Dialogs

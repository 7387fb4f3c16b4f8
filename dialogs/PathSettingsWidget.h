#pragma once

#include "components/StyledWidget.h"
#include "core/Settings.h"

#include <QSharedPointer>

class QVBoxLayout;

namespace Kavo::Components {
class FileSelector;
}

namespace Kavo::Dialogs {

/// Page for the simulator folder and the three working folders. Choices go into the pending
/// settings.
class PathSettingsWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PathSettingsWidget(const QSharedPointer<Settings> &settings,
                                QWidget *parent = nullptr);

private:
    Components::FileSelector *addSelector(QVBoxLayout &layout, const QString &caption,
                                          Settings::Key key);
    void addFolder(QVBoxLayout &layout, const QString &caption, Settings::Key key);
    void onSimulatorChosen(const QString &path);

    QSharedPointer<Settings> m_settings;
    Components::FileSelector *m_simulator;
};

} // namespace Kavo::Dialogs

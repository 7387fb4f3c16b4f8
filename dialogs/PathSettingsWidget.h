#pragma once

#include "components/StyledWidget.h"
#include "core/Settings.h"

#include <QMap>
#include <QSharedPointer>

class QVBoxLayout;

namespace Kavo::Components {
class FileSelector;
}

namespace Kavo::Dialogs {

/// The page for the simulator folder and the three working folders. Choices are stored in the
/// pending settings. A folder without a simulator, or one that conflicts with another of the four,
/// is refused with a message box, because files of both folders would be mixed up.
class PathSettingsWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PathSettingsWidget(const QSharedPointer<Settings> &settings,
                                QWidget *parent = nullptr);

private:
    void addSelector(QVBoxLayout &layout, const QString &caption, Settings::Key key);
    void choose(Settings::Key key, const QString &path);
    QString inTheWayOf(Settings::Key key, const QString &path) const;
    void refuse(Settings::Key key, const QString &reason);

    struct Selector
    {
        QString caption;
        Components::FileSelector *field;
    };

    QSharedPointer<Settings> m_settings;
    QMap<Settings::Key, Selector> m_selectors;
};

} // namespace Kavo::Dialogs

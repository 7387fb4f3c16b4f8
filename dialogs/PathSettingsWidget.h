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

/// Page for the simulator folder and the three working folders. Choices go into the pending
/// settings. A folder that is no simulator's, or in the way of another of the four, is refused in a
/// box: files of one would be taken for those of the other.
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

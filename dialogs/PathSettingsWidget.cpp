#include "dialogs/PathSettingsWidget.h"

#include "components/FileSelector.h"
#include "dialogs/MessageBoxes.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QVBoxLayout>

namespace Kavo::Dialogs {

using Components::FileSelector;

PathSettingsWidget::PathSettingsWidget(const QSharedPointer<Settings> &settings, QWidget *parent)
    : StyledWidget(QStringLiteral("PathSettingsWidget"), parent)
    , m_settings(settings)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    m_simulator = addSelector(*layout, tr("X-Plane"), Settings::INSTALLATION);
    connect(m_simulator, &FileSelector::valueChanged, this, &PathSettingsWidget::onSimulatorChosen);
    addFolder(*layout, tr("Cache"), Settings::CACHE);
    addFolder(*layout, tr("Preserve"), Settings::PRESERVE);
    addFolder(*layout, tr("Backup"), Settings::BACKUP);
    layout->addStretch();
}

FileSelector *PathSettingsWidget::addSelector(QVBoxLayout &layout, const QString &caption,
                                              Settings::Key key)
{
    auto *selector = new FileSelector(FileSelector::ChooseFolder, this);
    selector->setLabel(caption);
    selector->setValue(m_settings->current(key));
    layout.addWidget(selector);
    return selector;
}

void PathSettingsWidget::addFolder(QVBoxLayout &layout, const QString &caption, Settings::Key key)
{
    connect(addSelector(layout, caption, key), &FileSelector::valueChanged, this,
            [this, key](const QString &path) {
                m_settings->setPending(key, path + QDir::separator());
            });
}

void PathSettingsWidget::onSimulatorChosen(const QString &path)
{
    if (path.isEmpty())
        return;
    // Not the file that start-up looks for; the two tests differ on purpose.
    if (QFile::exists(path + QDir::separator() + QStringLiteral("X-Plane.exe"))) {
        m_settings->setPending(Settings::INSTALLATION, path + QDir::separator());
        return;
    }
    const QPointer<PathSettingsWidget> self(this);
    showMessage(this, QMessageBox::Critical, tr("Invalid Folder"),
                tr("Oops...this doesn't seem to be a XPlane installation folder."));
    if (self)
        m_simulator->setValue(m_settings->pending(Settings::INSTALLATION));
}

} // namespace Kavo::Dialogs

#include "dialogs/PathSettingsWidget.h"

#include "components/FileSelector.h"
#include "core/ContainedPath.h"
#include "core/FileCopy.h"
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
    addSelector(*layout, tr("X-Plane"), Settings::INSTALLATION);
    addSelector(*layout, tr("Cache"), Settings::CACHE);
    addSelector(*layout, tr("Preserve"), Settings::PRESERVE);
    addSelector(*layout, tr("Backup"), Settings::BACKUP);
    layout->addStretch();
}

void PathSettingsWidget::addSelector(QVBoxLayout &layout, const QString &caption, Settings::Key key)
{
    auto *selector = new FileSelector(FileSelector::ChooseFolder, this);
    selector->setLabel(caption);
    selector->setValue(m_settings->current(key));
    layout.addWidget(selector);
    m_selectors.insert(key, {caption, selector});
    connect(selector, &FileSelector::valueChanged, this,
            [this, key](const QString &path) { choose(key, path); });
}

void PathSettingsWidget::choose(Settings::Key key, const QString &path)
{
    const bool isSimulator = key == Settings::INSTALLATION;
    if (isSimulator && path.isEmpty())
        return;
    // Not the file that the start-up checks; the two checks differ on purpose.
    // Fixed, see docs/compatibility.md.
    if (isSimulator && !QFile::exists(path + QDir::separator() + QStringLiteral("X-Plane.exe"))) {
        refuse(key, tr("Oops...this doesn't seem to be a XPlane installation folder."));
        return;
    }
    const QString other = inTheWayOf(key, path + QDir::separator());
    if (other.isEmpty())
        m_settings->setPending(key, path + QDir::separator());
    else
        refuse(key, tr("This folder is that of \"%1\", lies in it or holds it.\n\n"
                       "Choose one that is apart from the others.")
                        .arg(other));
}

/// The caption of another folder that conflicts with this one, empty if there is none.
QString PathSettingsWidget::inTheWayOf(Settings::Key key, const QString &path) const
{
    for (auto other = m_selectors.cbegin(); other != m_selectors.cend(); ++other) {
        const QString &folder = m_settings->pending(other.key());
        if (other.key() == key || folder.isEmpty())
            continue;
        // The cache folder has no subfolders, so other folders may be below it.
        const bool isShallow = key == Settings::CACHE || other.key() == Settings::CACHE;
        if (isShallow ? isSameFile(path, folder) : overlap(path, folder))
            return other->caption;
    }
    return QString();
}

void PathSettingsWidget::refuse(Settings::Key key, const QString &reason)
{
    const QPointer<PathSettingsWidget> self(this);
    showMessage(this, QMessageBox::Critical, tr("Invalid Folder"), reason);
    if (self)
        m_selectors.value(key).field->setValue(m_settings->pending(key));
}

} // namespace Kavo::Dialogs

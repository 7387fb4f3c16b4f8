#include "dialogs/DiskSettingsWidget.h"

#include "core/ByteSize.h"
#include "core/FolderSize.h"
#include "core/Settings.h"

#include <QGridLayout>
#include <QLabel>

namespace Kavo::Dialogs {

DiskSettingsWidget::DiskSettingsWidget(const Settings &settings, QWidget *parent)
    : StyledWidget(QStringLiteral("DiskSettingsWidget"), parent)
{
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    addFolder(*layout, tr("Cache"), settings.current(Settings::CACHE));
    addFolder(*layout, tr("Backup"), settings.current(Settings::BACKUP));
    addFolder(*layout, tr("Preserve"), settings.current(Settings::PRESERVE));
    // Keeps captions and sizes together on the left.
    for (int column = 2; column <= 4; ++column)
        layout->addWidget(new QWidget(this), 0, column);
    layout->setRowStretch(layout->rowCount(), 1);
}

void DiskSettingsWidget::addFolder(QGridLayout &layout, const QString &caption, const QString &path)
{
    const int row = layout.isEmpty() ? 0 : layout.rowCount();
    auto *captionLabel = new QLabel(caption, this);
    captionLabel->setObjectName(QStringLiteral("DiskCaption"));
    layout.addWidget(captionLabel, row, 0);
    auto *sizeLabel = new QLabel(formatByteSize(folderSize(path)), this);
    sizeLabel->setObjectName(QStringLiteral("DiskSize"));
    layout.addWidget(sizeLabel, row, 1);
}

} // namespace Kavo::Dialogs

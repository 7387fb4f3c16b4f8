#include "components/FileSelector.h"

#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "components/PathField.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>

namespace Kavo::Components {

FileSelector::FileSelector(int mode, QWidget *parent)
    : StyledWidget(QStringLiteral("FileSelector"), parent)
    , m_mode(mode)
    , m_caption(new QLabel(this))
    , m_value(new PathField(this))
    , m_browse(makeButton(QStringLiteral("FileSelectorBrowse"), tr("Browse"),
                          iconFont()->icon(Glyph::OpenFolder, darkIconOptions()), this))
{
    m_caption->setObjectName(QStringLiteral("FileSelectorCaption"));
    m_caption->setMinimumWidth(72);
    m_value->setObjectName(QStringLiteral("FileSelectorValue"));
    m_value->setAccessibleName(tr("Path"));
    connect(m_browse, &QPushButton::clicked, this, &FileSelector::browse);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_caption);
    layout->addWidget(m_value, 1);
    layout->addWidget(m_browse);
}

void FileSelector::setLabel(const QString &text)
{
    if (!text.isEmpty()) {
        m_caption->setText(text);
        m_value->setAccessibleName(text);
        nameAfterSubject(*m_browse, text);
    }
    m_caption->setVisible(!text.isEmpty());
}

void FileSelector::setValue(const QString &text)
{
    m_value->setPath(text);
}

void FileSelector::browse()
{
    const QPointer<FileSelector> self(this);
    const QString path = choose();
    if (!self || path.isEmpty())
        return;
    setValue(path);
    emit valueChanged(path);
}

QString FileSelector::choose()
{
    if (m_mode == ChooseFile)
        return QFileDialog::getOpenFileName(this, QString(), QString(), QString());
    return QFileDialog::getExistingDirectory(this, QString(), QString(), QFileDialog::ShowDirsOnly);
}

} // namespace Kavo::Components

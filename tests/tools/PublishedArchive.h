#pragma once

#include "tests/support/Archives.h"
#include "tools/publish/Addition.h"

#include <QTemporaryDir>

namespace Kavo::Testing {

/// An archive as a publisher has it, in a folder of its own.
class PublishedArchive final
{
public:
    /// The format follows the name.
    PublishedArchive(const QString &name, const Files &files);

    bool isThere() const { return m_isThere; }
    QString path() const { return m_folder.filePath(m_name); }
    /// After a look at it.
    const Tools::ArchiveLook &look() const { return m_look; }
    Tools::ArchiveLook::Outcome outcome() const { return m_outcome; }

    /// A text in which @SIZE@ and @SHA@ stand for what the archive has, and ' for ".
    QByteArray filledIn(QByteArray text) const;

private:
    QTemporaryDir m_folder;
    QString m_name;
    bool m_isThere;
    Tools::ArchiveLook m_look;
    Tools::ArchiveLook::Outcome m_outcome;
};

/// An order for a version of a package that is in the catalogue.
Tools::AdditionOrder orderFor(int id, const QString &version);

} // namespace Kavo::Testing

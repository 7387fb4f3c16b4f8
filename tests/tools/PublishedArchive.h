#pragma once

#include "tests/support/Files.h"
#include "tools/publish/Addition.h"

#include <QTemporaryDir>

namespace Kavo::Testing {

/// An archive of a publisher, in a temporary folder.
class PublishedArchive final
{
public:
    /// The format follows the name.
    PublishedArchive(const QString &name, const Files &files);

    bool isThere() const { return m_isThere; }
    QString path() const { return m_folder.filePath(m_name); }
    /// The result of the inspection.
    const Tools::ArchiveLook &look() const { return m_look; }
    Tools::ArchiveLook::Outcome outcome() const { return m_outcome; }

    /// Replaces @SIZE@ and @SHA@ by those of the archive, and ' by ".
    QByteArray filledIn(QByteArray text) const;

private:
    QTemporaryDir m_folder;
    QString m_name;
    bool m_isThere;
    Tools::ArchiveLook m_look;
    Tools::ArchiveLook::Outcome m_outcome;
};

/// An order for a version of an existing package.
Tools::AdditionOrder orderFor(int id, const QString &version);

} // namespace Kavo::Testing

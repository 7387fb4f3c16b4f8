#pragma once

#include "tests/support/Files.h"
#include "tools/publish/Addition.h"

#include <QTemporaryDir>

namespace Kavo::Testing {

/// An archive in a temporary folder that a publisher adds to a catalogue, and its inspection.
class PublishedArchive final
{
public:
    /// Creates and inspects the archive. The suffix of the name selects its format.
    PublishedArchive(const QString &name, const Files &files);

    /// Whether the archive could be created.
    bool isThere() const { return m_isThere; }
    QString path() const { return m_folder.filePath(m_name); }
    /// The result of the inspection.
    const Tools::ArchiveLook &look() const { return m_look; }
    Tools::ArchiveLook::Outcome outcome() const { return m_outcome; }

    /// Replaces "@SIZE@" and "@SHA@" by the size and the SHA-256 of the archive, and ' by ".
    QByteArray filledIn(QByteArray text) const;

private:
    QTemporaryDir m_folder;
    QString m_name;
    bool m_isThere;
    Tools::ArchiveLook m_look;
    Tools::ArchiveLook::Outcome m_outcome;
};

/// Returns an order that adds a version to an existing package.
Tools::AdditionOrder orderFor(int id, const QString &version);

} // namespace Kavo::Testing

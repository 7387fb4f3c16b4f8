#pragma once

#include "core/ArchiveEntry.h"

#include <QByteArray>
#include <QSet>

#include <optional>

namespace Kavo::Extractors {

/// Parses the output of `7z l -slt` into entries, piece by piece as it arrives:
///
///     Type = zip          about the archive
///     ----------
///     Path = a/b.txt      one property a line, an empty line after each entry
///     Size = 5
///
/// Archives are not trusted, and a comment in one can be written to look like properties. So a
/// property that appears twice in an entry makes the listing unusable: one of the two may be
/// forged. A value class; may be used on any thread.
class ArchiveListingReader final
{
public:
    void read(const QByteArray &bytes);

    /// The listing after the last byte; nothing if it cannot be trusted.
    std::optional<ArchiveListing> result();

    /// Whether 7-Zip asked for a password, which it does for encrypted listings.
    bool wantsPassword() const { return m_wantsPassword; }

private:
    void readLine(const QByteArray &line);
    void readArchiveProperty(const QByteArray &key, const QByteArray &value);
    void readEntryProperty(const QByteArray &key, const QByteArray &value);
    void endEntry();

    ArchiveListing m_listing;
    ArchiveEntry m_entry;
    QSet<QByteArray> m_known; ///< properties of the current entry
    QByteArray m_rest;        ///< the line that is not complete yet
    bool m_isInEntries = false;
    bool m_isMalformed = false;
    bool m_wantsPassword = false;
};

} // namespace Kavo::Extractors

#pragma once

#include "core/ArchiveEntry.h"

#include <QByteArray>
#include <QSet>

#include <optional>

namespace Kavo::Extractors {

/// Makes entries of what `7z l -slt` prints, piece by piece as it comes:
///
///     Type = zip          about the archive
///     ----------
///     Path = a/b.txt      one property a line, an empty line after each entry
///     Size = 5
///
/// Archives come from outside, and a comment in one may be made to look like properties. So a
/// property that an entry has twice makes the listing unusable: one of the two may be a lie.
/// A value of its own: callable from any thread.
class ArchiveListingReader final
{
public:
    void read(const QByteArray &bytes);

    /// The listing, once everything was read; nothing when it cannot be trusted.
    std::optional<ArchiveListing> result();

    /// Whether 7-Zip has asked for a password, which it does for encrypted lists.
    bool wantsPassword() const { return m_wantsPassword; }

private:
    void readLine(const QByteArray &line);
    void readArchiveProperty(const QByteArray &key, const QByteArray &value);
    void readEntryProperty(const QByteArray &key, const QByteArray &value);
    void endEntry();

    ArchiveListing m_listing;
    ArchiveEntry m_entry;
    QSet<QByteArray> m_known; ///< properties of the present entry
    QByteArray m_rest;        ///< the line that has not ended yet
    bool m_isInEntries = false;
    bool m_isMalformed = false;
    bool m_wantsPassword = false;
};

} // namespace Kavo::Extractors

#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

namespace Kavo::Models {

/// The reason why an installation failed, for the log and for the user. A value class. May be used
/// on any thread, except text(), which needs the translations of the main thread.
class FailureReason final
{
    Q_DECLARE_TR_FUNCTIONS(Kavo::Models::FailureReason)

public:
    enum class Kind {
        NONE,
        SIMULATOR_MISSING, ///< folder
        FOLDER_OUTSIDE,    ///< the rule's folder
        ARCHIVE_MISSING,   ///< path
        ARCHIVE_UNREADABLE,
        ARCHIVE_ENCRYPTED,
        EXTRACTOR_MISSING,
        ENTRY_LEADS_OUT, ///< path in the archive
        ROOM_MISSING,    ///< needed, free
        SIZE_DIFFERS,    ///< bytes present, bytes according to the catalogue
        CHECKSUM_DIFFERS,
        COPY_FAILED, ///< path
        UNPACKING_FAILED,
    };

    FailureReason() = default;
    explicit FailureReason(Kind kind, QStringList details = {});

    bool isNone() const { return m_kind == Kind::NONE; }
    Kind kind() const { return m_kind; }

    /// Whether the installation ended before it changed anything.
    bool isHarmless() const;

    /// One sentence in English, empty for NONE.
    QString logText() const;
    /// The sentence in the user's language, followed by what it means for an installed version.
    QString text() const;

private:
    const char *pattern() const;

    Kind m_kind = Kind::NONE;
    QStringList m_details;
};

} // namespace Kavo::Models

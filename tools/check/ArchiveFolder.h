#pragma once

#include <QString>

namespace Kavo::Tools {

/// The folder in which archives lie before they are published: either as on the server, in the
/// folders of their addresses, or all of them side by side. Nothing in it is ever changed.
class ArchiveFolder final
{
public:
    /// Where an archive was found.
    struct Place
    {
        QString path; ///< empty when there is none
        /// Whether only the name of the file has told; another address may end in it as well.
        bool isByName = false;
    };

    explicit ArchiveFolder(const QString &folder);

    /// Whether it can be looked into.
    bool isReadable() const;

    /// The archive of an address. One that lies in the folders of the address is preferred.
    Place find(const QString &link) const;

    /// The name of the file that clients make of an address, empty when they make none.
    static QString fileNameOf(const QString &link);

private:
    QString m_folder;
};

} // namespace Kavo::Tools

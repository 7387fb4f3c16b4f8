#pragma once

#include <QString>

namespace Kavo::Tools {

/// The folder with the archives before they are published: either as on the server, in the folders
/// of their addresses, or all of them in one folder. Nothing in it is ever changed.
class ArchiveFolder final
{
public:
    /// The place of an archive.
    struct Place
    {
        QString path; ///< empty if there is none
        /// Whether only the file name matches; another address may end in the same name.
        bool isByName = false;
    };

    explicit ArchiveFolder(const QString &folder);

    /// Whether the folder can be read.
    bool isReadable() const;

    /// The archive of an address. One in the folders of the address is preferred.
    Place find(const QString &link) const;

    /// The file name that clients derive from an address, empty if they cannot.
    static QString fileNameOf(const QString &link);

private:
    QString m_folder;
};

} // namespace Kavo::Tools

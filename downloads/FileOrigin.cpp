#include "downloads/FileOrigin.h"

#include <QFile>
#include <QUrl>

#include <sys/xattr.h>

namespace Kavo::Managers {

namespace {

const char *const AddressAttribute = "user.xdg.origin.url";
const char *const DateAttribute = "user.kavo.last-modified";

/// The largest attribute that the kernel takes, in bytes.
constexpr int LongestAttribute = 64 * 1024;

QByteArray readAttribute(const QByteArray &path, const char *name)
{
    const ssize_t length = ::getxattr(path.constData(), name, nullptr, 0);
    if (length <= 0 || length > LongestAttribute)
        return QByteArray();
    QByteArray value(static_cast<int>(length), '\0');
    // It may have changed in between.
    const bool isWhole = ::getxattr(path.constData(), name, value.data(), value.size()) == length;
    return isWhole ? value : QByteArray();
}

void writeAttribute(int file, const char *name, const QByteArray &value)
{
    if (value.isEmpty())
        ::fremovexattr(file, name);
    else
        ::fsetxattr(file, name, value.constData(), value.size(), 0);
}

bool agree(const QByteArray &one, const QByteArray &other)
{
    return one.isEmpty() || other.isEmpty() || one == other;
}

} // namespace

FileOrigin FileOrigin::of(const QUrl &url, const QByteArray &lastModified)
{
    return {url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment), lastModified};
}

FileOrigin FileOrigin::read(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    return {readAttribute(name, AddressAttribute), readAttribute(name, DateAttribute)};
}

void FileOrigin::write(int file) const
{
    writeAttribute(file, AddressAttribute, address);
    writeAttribute(file, DateAttribute, lastModified);
}

bool FileOrigin::agreesWith(const FileOrigin &other) const
{
    return agree(address, other.address) && agree(lastModified, other.lastModified);
}

} // namespace Kavo::Managers

#include "downloads/FileOrigin.h"

#include <QFile>
#include <QUrl>

#include <cstddef>
#include <sys/xattr.h>

namespace Kavo::Managers {

namespace {

const char *const AddressAttribute = "user.xdg.origin.url";
const char *const DateAttribute = "user.kavo.last-modified";
const char *const TagAttribute = "user.kavo.etag";

/// The largest attribute that the kernel accepts, in bytes.
constexpr int LongestAttribute = 64 * 1024;

QByteArray readAttribute(const QByteArray &path, const char *name)
{
    const ssize_t length = ::getxattr(path.constData(), name, nullptr, 0);
    if (length <= 0 || length > LongestAttribute)
        return QByteArray();
    QByteArray value(static_cast<int>(length), '\0');
    // The attribute may have changed in between.
    const auto size = static_cast<std::size_t>(length);
    const bool isWhole = ::getxattr(path.constData(), name, value.data(), size) == length;
    return isWhole ? value : QByteArray();
}

void writeAttribute(int file, const char *name, const QByteArray &value)
{
    if (value.isEmpty())
        ::fremovexattr(file, name);
    else
        ::fsetxattr(file, name, value.constData(), static_cast<std::size_t>(value.size()), 0);
}

bool agree(const QByteArray &one, const QByteArray &other)
{
    return one.isEmpty() || other.isEmpty() || one == other;
}

} // namespace

FileOrigin FileOrigin::of(const QUrl &url, const QByteArray &lastModified,
                          const QByteArray &entityTag)
{
    return {url.toEncoded(QUrl::RemoveUserInfo | QUrl::RemoveFragment), lastModified, entityTag};
}

FileOrigin FileOrigin::read(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    return {readAttribute(name, AddressAttribute), readAttribute(name, DateAttribute),
            readAttribute(name, TagAttribute)};
}

void FileOrigin::write(int file) const
{
    writeAttribute(file, AddressAttribute, address);
    writeAttribute(file, DateAttribute, lastModified);
    writeAttribute(file, TagAttribute, entityTag);
}

bool FileOrigin::agreesWith(const FileOrigin &other) const
{
    return agree(address, other.address) && agree(lastModified, other.lastModified) &&
           agree(entityTag, other.entityTag);
}

} // namespace Kavo::Managers

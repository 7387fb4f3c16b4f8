#include "components/Picture.h"

#include "core/Log.h"

#include <QImageReader>

namespace Kavo::Components {

namespace {

/// Decoding takes four bytes per pixel, whatever size the picture is scaled to.
constexpr qint64 MaximalPixels = 128LL * 1024 * 1024;

QSize scaledSize(const QSize &size, const QSize &bounds, Qt::AspectRatioMode mode)
{
    return size.scaled(bounds, mode).expandedTo(QSize(1, 1));
}

} // namespace

QPixmap loadPicture(const QString &path, const QSize &bounds, Qt::AspectRatioMode mode)
{
    QImageReader reader(path);
    // The file name comes from an address, so its suffix means nothing.
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (size.isValid() && qint64(size.width()) * size.height() > MaximalPixels) {
        logLine(QStringLiteral("Picture is too large : ") + path);
        return {};
    }
    const bool fits = size.width() <= bounds.width() && size.height() <= bounds.height();
    if (size.isValid() && !fits)
        reader.setScaledSize(scaledSize(size, bounds, mode));
    const QPixmap pixmap = QPixmap::fromImageReader(&reader);
    if (pixmap.isNull())
        logLine(QStringLiteral("Picture cannot be shown : ") + path + QStringLiteral(" : ") +
                reader.errorString());
    return pixmap;
}

QPixmap scaledToHeight(const QPixmap &picture, int height, qreal devicePixelRatio,
                       Qt::TransformationMode mode)
{
    if (picture.isNull())
        return {};
    QPixmap scaled = picture.scaledToHeight(qMax(1, qRound(height * devicePixelRatio)), mode);
    scaled.setDevicePixelRatio(devicePixelRatio);
    return scaled;
}

} // namespace Kavo::Components

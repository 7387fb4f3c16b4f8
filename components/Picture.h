#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

namespace Kavo::Components {

/// Reads a picture from the network and scales it down to `bounds` in device pixels if it is
/// larger. Returns a null picture and logs a line if the file is not a picture or has an
/// unreasonable size.
QPixmap loadPicture(const QString &path, const QSize &bounds,
                    Qt::AspectRatioMode mode = Qt::KeepAspectRatio);

/// Returns the picture scaled to a height in logical pixels, with the screen's device pixel ratio.
/// A null picture stays null.
QPixmap scaledToHeight(const QPixmap &picture, int height, qreal devicePixelRatio,
                       Qt::TransformationMode mode = Qt::FastTransformation);

} // namespace Kavo::Components

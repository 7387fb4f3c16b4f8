#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

namespace Kavo::Components {

/// Reads a picture that came from the network, scaled down to `bounds` in device pixels where it is
/// larger. Null, with a log line, for a file that holds no picture or one of unreasonable size.
QPixmap loadPicture(const QString &path, const QSize &bounds,
                    Qt::AspectRatioMode mode = Qt::KeepAspectRatio);

/// The picture at this height in the screen's own measure, with as many pixels as the screen has
/// for it. A null picture stays one.
QPixmap scaledToHeight(const QPixmap &picture, int height, qreal devicePixelRatio,
                       Qt::TransformationMode mode = Qt::FastTransformation);

} // namespace Kavo::Components

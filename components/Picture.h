#pragma once

#include <QPixmap>
#include <QSize>
#include <QString>

namespace Kavo::Components {

/// Reads a picture that came from the network, scaled down to `bounds` in device pixels where it is
/// larger. Null, with a log line, for a file that holds no picture or one of unreasonable size.
QPixmap loadPicture(const QString &path, const QSize &bounds,
                    Qt::AspectRatioMode mode = Qt::KeepAspectRatio);

} // namespace Kavo::Components

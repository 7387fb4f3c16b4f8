#pragma once

#include "components/iconfont/QtAwesome.h"

#include <QVariantMap>

namespace Kavo::Components {

/// The icon font of the whole process, made at the first call. Its icons are white. Somebody calls
/// its initFontAwesome() before the first icon is drawn. Needs the application object.
QtAwesome *iconFont();

/// Options for black icons, for light surfaces.
QVariantMap darkIconOptions();

} // namespace Kavo::Components

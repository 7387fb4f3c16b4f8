#pragma once

#include "components/iconfont/QtAwesome.h"

#include <QVariantMap>

namespace Kavo::Components {

/// The icon font of the process, created at the first call. Its icons are white. initFontAwesome()
/// must be called before the first icon is drawn. Needs the application object.
QtAwesome *iconFont();

/// Options for black icons on light backgrounds.
QVariantMap darkIconOptions();

} // namespace Kavo::Components

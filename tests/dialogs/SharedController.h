#pragma once

#include "tests/packages/Engine.h"

#include <QSharedPointer>

namespace Kavo::Testing {

/// The engine's controller as a shared pointer for widgets. The pointer does not own it, so the
/// engine must outlive the widgets.
inline QSharedPointer<Controllers::PackageController> sharedController(Engine &engine)
{
    return {&engine.controller(), [](Controllers::PackageController *) {}};
}

} // namespace Kavo::Testing

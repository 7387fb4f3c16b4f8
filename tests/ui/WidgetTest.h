#pragma once

#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Literals.h"
#include "tests/support/Table.h"

#include <memory>

namespace Kavo::Testing {

/// Base of tests of widgets that show packages. The engine is not started yet.
class WidgetTest : public EngineTest
{
    Q_OBJECT

protected slots:
    void initTestCase();

protected:
    using Package = Models::Package;
    using PackagePointer = Models::PackagePointer;

    QSharedPointer<Controllers::PackageController> shared() { return sharedController(engine()); }
    void set(Settings::Key key, const QString &value);
    /// Starts the engine with its catalogue on the server.
    void startServing();
};

} // namespace Kavo::Testing

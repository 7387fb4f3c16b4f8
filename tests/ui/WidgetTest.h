#pragma once

#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"

#include <memory>

namespace Kavo::Testing {

/// Base of tests of widgets that show packages. The engine has not been started.
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
    /// A text as catalogues have it.
    static QJsonObject inEnglish(const QString &text) { return {{"en"_s, text}}; }
    /// Adds a package with nothing but this name and description to the catalogue.
    void offerNamed(int id, const QString &name, const QString &brief = {});
    /// Adds "package-1" to "package-<count>" with nothing but their names.
    void offerNamed(int count);
    /// Starts the engine with its catalogue on the server.
    void startServing();
};

} // namespace Kavo::Testing

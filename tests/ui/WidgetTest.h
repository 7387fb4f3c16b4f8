#pragma once

#include "core/Settings.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"

#include <memory>

namespace Kavo::Testing {

/// Base class of tests of widgets that show packages. The test starts the engine.
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
    /// A text in the form of catalogues, which have one for each language.
    static QJsonObject inEnglish(const QString &text) { return {{"en"_s, text}}; }
    /// Adds a package to the catalogue that has only this name and description.
    void offerNamed(int id, const QString &name, const QString &brief = {});
    /// Adds "package-1" to "package-<count>", which have only their names.
    void offerNamed(int count);
    /// Starts the engine and serves its catalogue.
    void startServing();
};

} // namespace Kavo::Testing

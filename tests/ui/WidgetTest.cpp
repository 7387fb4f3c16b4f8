#include "tests/ui/WidgetTest.h"

namespace Kavo::Testing {

void WidgetTest::initTestCase()
{
    Components::iconFont()->initFontAwesome();
}

void WidgetTest::set(Settings::Key key, const QString &value)
{
    settings()->setPending(key, value);
    settings()->apply();
}

void WidgetTest::startServing()
{
    start();
    serveCatalogue();
}

} // namespace Kavo::Testing

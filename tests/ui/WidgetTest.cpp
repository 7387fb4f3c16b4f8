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

void WidgetTest::offerNamed(int id, const QString &name, const QString &brief)
{
    offerObject(
        {{"id"_s, id}, {"name"_s, inEnglish(name)}, {"short_description"_s, inEnglish(brief)}});
}

void WidgetTest::offerNamed(int count)
{
    for (int id = 1; id <= count; ++id)
        offerNamed(id, "package-%1"_s.arg(id));
}

void WidgetTest::startServing()
{
    start();
    serveCatalogue();
}

} // namespace Kavo::Testing

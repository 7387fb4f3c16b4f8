#include "tests/packages/EngineTest.h"

namespace Kavo::Testing {

void EngineTest::init()
{
    m_engine.emplace();
    setUp();
}

void EngineTest::cleanup()
{
    tearDown();
    m_engine.reset();
}

} // namespace Kavo::Testing

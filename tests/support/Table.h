#pragma once

#include <QtTest>

#include <array>
#include <initializer_list>
#include <tuple>

namespace Kavo::Testing {

/// Fills the table of a data-driven test. Each row begins with its name.
///
///     table<int, bool>({"number", "even"}, {{"one", 1, false}, {"two", 2, true}});
template<class... Values>
void table(const std::array<const char *, sizeof...(Values)> &columns,
           std::initializer_list<std::tuple<const char *, Values...>> rows)
{
    std::size_t column = 0;
    (QTest::addColumn<Values>(columns[column++]), ...);
    for (const auto &row : rows) {
        std::apply([](const char *name,
                      const Values &...values) { (QTest::newRow(name) << ... << values); },
                   row);
    }
}

} // namespace Kavo::Testing

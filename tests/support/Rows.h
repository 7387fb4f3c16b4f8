#pragma once

#include <QByteArray>
#include <QString>
#include <QStringBuilder>
#include <QtTest>

#include <array>
#include <tuple>
#include <utility>

namespace Kavo::Testing {

/// A text in a row, made from a QString or a literal in UTF-8.
class RowText final
{
public:
    RowText(const QString &text);
    RowText(const char *utf8);
    template<typename Left, typename Right>
    RowText(const QStringBuilder<Left, Right> &text) : m_text(text)
    {}

    operator const QString &() const { return m_text; }

private:
    QString m_text;
};

/// The type in which Rows::row() takes a value of the column.
template<typename Column>
struct Cell
{
    using Type = Column;
};
template<>
struct Cell<QString>
{
    using Type = RowText;
};

/// The rows of a data-driven test. Columns have types but no names; the variables into which a row
/// is read name them:
///
///     void SizeTest::sizes_data()
///     {
///         Rows<QString, int>().row("empty", "a.txt", 0).row("full", "b.txt", 7);
///     }
///
///     void SizeTest::sizes()
///     {
///         const auto [file, size] = Rows<QString, int>::current();
///
/// The types must be the same in both places; otherwise the test program aborts.
template<typename... Columns>
class Rows final
{
public:
    Rows() { addColumns(Indices()); }

    Rows &row(const char *name, const typename Cell<Columns>::Type &...cells)
    {
        QTestData &row = QTest::newRow(name);
        (row << ... << static_cast<const Columns &>(cells));
        return *this;
    }

    Rows &row(const QByteArray &name, const typename Cell<Columns>::Type &...cells)
    {
        return row(name.constData(), cells...);
    }

    /// The values of the current row.
    static std::tuple<Columns...> current() { return read(Indices()); }

private:
    using Indices = std::index_sequence_for<Columns...>;
    static constexpr std::array<const char *, 8> Names{"1", "2", "3", "4", "5", "6", "7", "8"};

    template<std::size_t... Index>
    static void addColumns(std::index_sequence<Index...>)
    {
        (QTest::addColumn<Columns>(Names[Index]), ...);
    }
    template<std::size_t... Index>
    static std::tuple<Columns...> read(std::index_sequence<Index...>)
    {
        return {
            *static_cast<const Columns *>(QTest::qData(Names[Index], qMetaTypeId<Columns>()))...};
    }
};

} // namespace Kavo::Testing

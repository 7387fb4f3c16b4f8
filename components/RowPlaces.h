#pragma once

#include <QBitArray>
#include <QSize>
#include <QVector>

namespace Kavo::Components {

/// The positions of the rows of a list, one below another. Rows may be left out; a listed row has a
/// place, and places are counted from the top without gaps. Finding a place does not visit every
/// row; only list() and size() do. Sizes are in pixels. The spacing is around each row, so there is
/// twice as much between two rows.
class RowPlaces final
{
public:
    explicit RowPlaces(int spacing = 0) : m_spacing(spacing) {}

    void setSpacing(int spacing) { m_spacing = spacing; }
    /// Appends a listed row.
    void append(const QSize &size);
    /// Changes the width of a row; the height is fixed.
    void setWidth(int row, int width) { m_sizes[row].setWidth(width); }
    QSize size(int row) const { return m_sizes.at(row); }
    /// Lists only the rows whose bit is set; there is a bit for every row.
    void list(const QBitArray &rows);
    void clear();

    bool isListed(int row) const { return m_isListed.testBit(row); }
    /// The listed rows by place.
    const QVector<int> &listed() const { return m_listed; }
    /// The place of a row; for a row that is not listed, that of the next one.
    int placeOf(int row) const;
    /// The first place that ends below this position; the number of places if there is none.
    int placeBelow(int y) const;
    /// The top of a place and its bottom, which is the first line after it.
    int top(int place) const { return m_bottoms.value(place - 1) + m_spacing * (2 * place + 1); }
    int bottom(int place) const { return m_bottoms.at(place) + m_spacing * (2 * place + 1); }
    /// The size of all places together.
    QSize size() const;

private:
    int m_spacing;
    QVector<QSize> m_sizes; ///< sizes of all rows
    QBitArray m_isListed;
    QVector<int> m_listed;
    QVector<int> m_bottoms; ///< bottoms of the places without spacing
};

} // namespace Kavo::Components

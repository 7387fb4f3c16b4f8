#pragma once

#include <QBitArray>
#include <QSize>
#include <QVector>

namespace Kavo::Components {

/// Where the rows of a list stand: one under the other, all or some of them. A row that is listed
/// has a place; places are counted from the top without gaps. A place is found without a look at
/// each row; only list() and the size of all go through them. Sizes are in pixels. Around each row
/// is the spacing, so that there is twice as much between two rows.
class RowPlaces final
{
public:
    explicit RowPlaces(int spacing = 0) : m_spacing(spacing) {}

    void setSpacing(int spacing) { m_spacing = spacing; }
    /// A further row at the end, which is listed.
    void append(const QSize &size);
    /// Rows may become wider or narrower, but neither higher nor lower.
    void setWidth(int row, int width) { m_sizes[row].setWidth(width); }
    QSize size(int row) const { return m_sizes.at(row); }
    /// Lists only the rows whose bit is set; there is a bit for every row.
    void list(const QBitArray &rows);
    void clear();

    bool isListed(int row) const { return m_isListed.testBit(row); }
    /// The rows that are listed, each at its place.
    const QVector<int> &listed() const { return m_listed; }
    /// The place of a row; for one that is not listed, that of the next one.
    int placeOf(int row) const;
    /// The first place that ends below this line; the number of places where none does.
    int placeBelow(int y) const;
    /// First line of a place, and the one behind its last.
    int top(int place) const { return m_bottoms.value(place - 1) + m_spacing * (2 * place + 1); }
    int bottom(int place) const { return m_bottoms.at(place) + m_spacing * (2 * place + 1); }
    /// Of all places together.
    QSize size() const;

private:
    int m_spacing;
    QVector<QSize> m_sizes; ///< of all rows
    QBitArray m_isListed;
    QVector<int> m_listed;
    QVector<int> m_bottoms; ///< of the places, as they were without spacing
};

} // namespace Kavo::Components

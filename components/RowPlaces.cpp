#include "components/RowPlaces.h"

#include <algorithm>

namespace Kavo::Components {

void RowPlaces::append(const QSize &size)
{
    const int row = m_sizes.size();
    m_sizes.append(size);
    m_isListed.resize(row + 1);
    m_isListed.setBit(row);
    m_listed.append(row);
    m_bottoms.append(m_bottoms.value(m_bottoms.size() - 1) + size.height());
}

void RowPlaces::list(const QBitArray &rows)
{
    m_isListed = rows;
    m_listed.clear();
    m_bottoms.clear();
    int bottom = 0;
    for (int row = 0; row < rows.size(); ++row) {
        if (!rows.testBit(row))
            continue;
        bottom += m_sizes.at(row).height();
        m_listed.append(row);
        m_bottoms.append(bottom);
    }
}

void RowPlaces::clear()
{
    *this = RowPlaces(m_spacing);
}

int RowPlaces::placeOf(int row) const
{
    const auto place = std::lower_bound(m_listed.begin(), m_listed.end(), row);
    return static_cast<int>(place - m_listed.begin());
}

int RowPlaces::placeBelow(int y) const
{
    int first = 0;
    int behind = m_listed.size();
    while (first < behind) {
        const int middle = first + (behind - first) / 2;
        if (bottom(middle) <= y)
            first = middle + 1;
        else
            behind = middle;
    }
    return first;
}

QSize RowPlaces::size() const
{
    if (m_listed.isEmpty())
        return {0, 0};
    int width = 0;
    for (const int row : m_listed)
        width = std::max(width, m_sizes.at(row).width());
    return {width + 2 * m_spacing, bottom(m_listed.size() - 1) + m_spacing};
}

} // namespace Kavo::Components

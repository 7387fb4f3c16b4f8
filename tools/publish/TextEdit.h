#pragma once

#include <QByteArray>

namespace Kavo::Tools {

/// A change of a document at one place.
struct TextEdit
{
    int start = 0;
    int removed = 0; ///< bytes that give way
    QByteArray text;

    QByteArray appliedTo(const QByteArray &document) const;

    /// Whether a byte of the result is new.
    bool isNew(int offset) const;
    /// Where a byte of the result stood before, unless it is new.
    int before(int offset) const;
};

} // namespace Kavo::Tools

#pragma once

#include <QByteArray>

namespace Kavo::Tools {

/// A replacement in a document.
struct TextEdit
{
    int start = 0;
    int removed = 0; ///< number of replaced bytes
    QByteArray text;

    QByteArray appliedTo(const QByteArray &document) const;

    /// Whether a byte of the result was inserted.
    bool isNew(int offset) const;
    /// The former offset of a byte of the result that was not inserted.
    int before(int offset) const;
};

} // namespace Kavo::Tools

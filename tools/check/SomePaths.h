#pragma once

#include <QString>

namespace Kavo::Tools {

/// Some of the paths in an archive, of which there may be very many: one of them, and their number.
class SomePaths final
{
public:
    /// Whether add() wants to know the path; any text will do once it does not.
    bool isEmpty() const { return m_count == 0; }
    void add(const QString &path);

    /// The first one in quotes, and how many there are besides.
    QString text() const;

private:
    int m_count = 0;
    QString m_first;
};

} // namespace Kavo::Tools

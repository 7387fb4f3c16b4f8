#pragma once

#include <QByteArray>

namespace Kavo::Managers {

/// A checksum that detects data damaged on disk. It is many times as fast as a cryptographic digest
/// and no protection against deliberate changes.
class BodyChecksum final
{
public:
    void add(const char *bytes, qint64 count);
    /// The checksum of all bytes so far. The pieces in which they came do not matter.
    QByteArray result() const;

    static QByteArray of(const QByteArray &bytes);

private:
    static constexpr int WordSize = 8;

    void mix(quint64 word);

    quint64 m_sum = 0;
    qint64 m_count = 0;
    char m_rest[WordSize] = {}; ///< bytes after the last complete word
    int m_restSize = 0;
};

} // namespace Kavo::Managers

#pragma once

#include <QByteArray>

namespace Kavo::Managers {

/// Tells bytes that a disk has damaged from those that came. It is quick, no more: many times as
/// fast as a digest, and no protection against anybody who wants two bodies to look alike.
class BodyChecksum final
{
public:
    void add(const char *bytes, qint64 count);
    /// Of all bytes so far, in whatever pieces they came.
    QByteArray result() const;

    static QByteArray of(const QByteArray &bytes);

private:
    static constexpr int WordSize = 8;

    void mix(quint64 word);

    quint64 m_sum = 0;
    qint64 m_count = 0;
    char m_rest[WordSize] = {}; ///< bytes behind the last whole word
    int m_restSize = 0;
};

} // namespace Kavo::Managers

#include "downloads/BodyChecksum.h"

#include <algorithm>
#include <cstring>

namespace Kavo::Managers {

void BodyChecksum::add(const char *bytes, qint64 count)
{
    m_count += count;
    const char *const end = bytes + count;
    while (bytes != end) {
        if (m_restSize == 0 && end - bytes >= WordSize) {
            quint64 word = 0;
            std::memcpy(&word, bytes, WordSize);
            mix(word);
            bytes += WordSize;
            continue;
        }
        m_rest[m_restSize++] = *bytes++;
        if (m_restSize < WordSize)
            continue;
        m_restSize = 0;
        quint64 word = 0;
        std::memcpy(&word, m_rest, WordSize);
        mix(word);
    }
}

QByteArray BodyChecksum::result() const
{
    BodyChecksum whole = *this;
    char last[WordSize] = {};
    std::copy_n(m_rest, m_restSize, last);
    quint64 word = 0;
    std::memcpy(&word, last, WordSize);
    whole.mix(word);
    whole.mix(static_cast<quint64>(m_count));
    return QByteArray::number(whole.m_sum, 16);
}

QByteArray BodyChecksum::of(const QByteArray &bytes)
{
    BodyChecksum sum;
    sum.add(bytes.constData(), bytes.size());
    return sum.result();
}

/// Every step is reversible, so a single changed word always changes the sum.
void BodyChecksum::mix(quint64 word)
{
    m_sum = (m_sum ^ word) * Q_UINT64_C(0x9e3779b97f4a7c15);
    m_sum ^= m_sum >> 32;
}

} // namespace Kavo::Managers

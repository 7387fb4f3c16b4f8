#include "tests/support/HttpResource.h"

#include <algorithm>

namespace Kavo::Testing {

namespace {

quint32 checksum(const QByteArray &bytes)
{
    quint32 sum = 0xffffffffU;
    for (const char byte : bytes) {
        sum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1U) != 0 ? 0xedb88320U : 0U);
    }
    return ~sum;
}

QByteArray littleEndian(quint32 number)
{
    QByteArray bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes.append(static_cast<char>((number >> shift) & 0xffU));
    return bytes;
}

} // namespace

QByteArray HttpResource::read(qint64 offset, qint64 length) const
{
    const qint64 count = std::clamp<qint64>(size() - offset, 0, length);
    if (generatedSize)
        return generated(offset, count);
    return body.mid(static_cast<int>(offset), static_cast<int>(count));
}

QByteArray HttpResource::generated(qint64 offset, qint64 length)
{
    // A period that shares no factor with block sizes: shifted data never looks right.
    constexpr qint64 Period = 251;
    QByteArray bytes(static_cast<int>(length), Qt::Uninitialized);
    std::generate(bytes.begin(), bytes.end(),
                  [next = offset]() mutable { return static_cast<char>(next++ % Period); });
    return bytes;
}

QByteArray gzipped(const QByteArray &bytes)
{
    // qCompress puts four bytes of its own and the two of zlib before the raw stream, and the four
    // of the zlib checksum behind it.
    const QByteArray packed = qCompress(bytes, 9);
    const QByteArray raw = packed.mid(6, packed.size() - 10);
    const QByteArray head = QByteArray::fromHex("1f8b08000000000000ff");
    return head + raw + littleEndian(checksum(bytes)) +
           littleEndian(static_cast<quint32>(bytes.size()));
}

} // namespace Kavo::Testing

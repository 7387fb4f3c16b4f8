#pragma once

#include <QString>

namespace Kavo {

/// A count of bytes for people, with two decimals: "1.50 KB". The steps are powers of 1024.
QString formatByteSize(qint64 bytes);

} // namespace Kavo

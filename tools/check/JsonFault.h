#pragma once

#include <QString>

namespace Kavo::Tools {

/// Something that is wrong with the notation of a JSON document.
struct JsonFault
{
    enum class Kind {
        SYNTAX,    ///< cannot be read; nothing behind it was looked at
        TOLERATED, ///< no JSON, but clients read it all the same
        ENCODING,  ///< bytes that are no UTF-8; clients read nothing of the document
    };

    Kind kind = Kind::SYNTAX;
    int offset = 0; ///< of the first byte that is wrong
    QString reason; ///< a sentence without a full stop
};

} // namespace Kavo::Tools

#pragma once

#include <QString>

namespace Kavo::Tools {

/// A fault in the notation of a JSON document.
struct JsonFault
{
    enum class Kind {
        SYNTAX,    ///< cannot be parsed; the rest of the document was not read
        TOLERATED, ///< invalid JSON that clients accept
        ENCODING,  ///< invalid UTF-8; clients read nothing of the document
    };

    Kind kind = Kind::SYNTAX;
    int offset = 0; ///< offset of the first wrong byte
    QString reason; ///< sentence without a full stop
};

} // namespace Kavo::Tools

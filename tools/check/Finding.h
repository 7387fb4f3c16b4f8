#pragma once

#include "tools/check/Rule.h"

#include <QString>

namespace Kavo::Tools {

/// A fault of a catalogue, or a fact worth knowing.
struct Finding
{
    Rule rule = Rule::JSON_SYNTAX;
    QString pointer; ///< JSON pointer of the value, empty for the whole document
    int offset = 0;  ///< offset of the value's first byte
    int line = 1;
    int column = 1; ///< in characters
    QString message;
};

} // namespace Kavo::Tools

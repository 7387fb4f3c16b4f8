#pragma once

#include "tools/check/Rule.h"

#include <QString>

namespace Kavo::Tools {

/// One thing that is wrong with a catalogue, or worth knowing of it.
struct Finding
{
    Rule rule = Rule::JSON_SYNTAX;
    QString pointer; ///< JSON pointer of the value, empty for the whole document
    int offset = 0;  ///< of the value's first byte
    int line = 1;
    int column = 1; ///< in characters
    QString message;
};

} // namespace Kavo::Tools

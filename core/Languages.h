#pragma once

#include <QStringList>

namespace Kavo {

/// The codes of the languages of the program, the built-in one first. Catalogues use the same codes
/// for their texts.
QStringList languages();

} // namespace Kavo

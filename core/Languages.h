#pragma once

#include <QStringList>

namespace Kavo {

/// The codes of the languages that the program speaks, the built-in one first. Catalogues have
/// their texts under these codes.
QStringList languages();

} // namespace Kavo

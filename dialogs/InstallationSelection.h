#pragma once

#include <QString>

namespace Kavo::Dialogs {

/// Asks the user for a folder until it contains the simulator's executable. Returns the folder with
/// a trailing separator, or an empty text if the user cancels. Blocks in its own event loop.
QString selectInstallation();

} // namespace Kavo::Dialogs

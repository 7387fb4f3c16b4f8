#pragma once

#include <QString>

namespace Kavo::Dialogs {

/// Lets the user choose a folder until it holds the simulator's executable. Returns it with a
/// trailing separator, or an empty text when the user cancels. Blocks in an event loop of its own.
QString selectInstallation();

} // namespace Kavo::Dialogs

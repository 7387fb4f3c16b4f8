#pragma once

#include <QString>

/// The two ways of finding the simulator. A folder is a simulator installation when it holds a
/// file "X-Plane-x86_64". Both functions block and run on the main thread.
namespace Kavo {

/// Name of the simulator's executable.
QString simulatorExecutable();

/// Asks the system's file-name database (`locate`) and returns the folder of the first listed
/// executable that is a regular file, with a trailing separator. Empty when there is none or the
/// tool fails or is missing.
QString locateInstallation();

/// Lets the user choose a folder until it holds the executable. Returns it with a trailing
/// separator, or an empty text when the user cancels.
QString selectInstallation();

} // namespace Kavo

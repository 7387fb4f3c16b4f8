#pragma once

#include <QString>

#include <functional>

/// Where the simulator is. A folder is an installation of it when it holds a file "X-Plane-x86_64".
namespace Kavo {

/// Name of the simulator's executable.
QString simulatorExecutable();

/// Asks the system's file-name database (`locate`) and returns the folder of the first listed
/// executable that is a regular file, with a trailing separator. Empty when there is none or the
/// tool fails or is missing, or when `isUnwanted` says so while the tool is at work. Blocks.
QString locateInstallation(const std::function<bool()> &isUnwanted = {});

/// Whether the folder still holds a simulator: its executable for Linux or for Windows, since the
/// settings accept a folder with the latter. False where the disk of the folder is not mounted.
/// Callable from any thread.
bool holdsSimulator(const QString &folder);

} // namespace Kavo

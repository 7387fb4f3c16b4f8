#pragma once

#include <QString>

#include <functional>

/// Finds the simulator. A folder is an installation of it if it holds a file "X-Plane-x86_64".
namespace Kavo {

/// Name of the simulator's executable.
QString simulatorExecutable();

/// Asks the system's file-name database (`locate`) and returns the folder of the first listed
/// executable that is a regular file, with a trailing separator. Returns an empty text if there is
/// none, if the tool fails or is missing, or if `isUnwanted` returns true while the tool runs.
/// Blocks.
QString locateInstallation(const std::function<bool()> &isUnwanted = {});

/// Whether the folder still holds a simulator: its executable for Linux or the one for Windows,
/// which the settings also accept. False if the disk of the folder is not mounted. May be called on
/// any thread.
bool holdsSimulator(const QString &folder);

} // namespace Kavo

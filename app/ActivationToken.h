#pragma once

#include <QByteArray>

namespace Kavo {

/// Returns the token that the desktop has passed to this start so that its window may come to the
/// front; empty if there is none. Qt removes it from the environment, so this must be called before
/// the application object is created.
QByteArray activationToken();

/// Passes the token to a new process that replaces this one.
void passOnActivationToken(const QByteArray &token);

/// Removes the token from the environment of child processes.
void forgetActivationToken();

} // namespace Kavo

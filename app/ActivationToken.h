#pragma once

#include <QByteArray>

namespace Kavo {

/// What the desktop has given this start so that its window may come to the front, which it grants
/// nobody whom the user has not asked for; empty when there is none. Qt takes it out of the
/// environment: to be called before the application object is made.
QByteArray activationToken();

/// Hands it to a new process in the place of this one.
void passOnActivationToken(const QByteArray &token);

/// Sees to it that the programs that this one starts do not take it for theirs.
void forgetActivationToken();

} // namespace Kavo

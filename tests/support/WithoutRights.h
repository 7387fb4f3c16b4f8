#pragma once

#include <QString>

#include <sys/types.h>

namespace Kavo::Testing {

/// While the object exists, this thread has no more rights to files than other users have, even
/// when the tests run as root.
class WithoutRights final
{
public:
    WithoutRights();
    ~WithoutRights();
    Q_DISABLE_COPY_MOVE(WithoutRights)

private:
    uid_t m_before;
};

/// Sets the permissions of a file or folder; a link is followed.
void setMode(const QString &path, mode_t mode);

/// Lets everybody read and change what is under a folder, and the folder. Links are left alone.
void letEverybodyWrite(const QString &folder);

} // namespace Kavo::Testing

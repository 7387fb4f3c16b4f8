#pragma once

#include <QString>

#include <sys/types.h>

namespace Kavo::Testing {

/// While the object exists, this thread accesses files without the privileges of root, even if the
/// tests run as root.
class WithoutRights final
{
public:
    WithoutRights();
    ~WithoutRights();
    Q_DISABLE_COPY_MOVE(WithoutRights)

private:
    uid_t m_before;
};

/// Sets the permissions of a file or folder. A link is followed.
void setMode(const QString &path, mode_t mode);

/// Gives all users full access to a folder and everything in it. Links are skipped.
void letEverybodyWrite(const QString &folder);

} // namespace Kavo::Testing

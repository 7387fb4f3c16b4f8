#pragma once

#include "core/DatabaseFile.h"

namespace Kavo {

/// Groups all writes to a database file during its lifetime. After a sudden end either all of them
/// are on disk or none. May be nested; only the outermost one counts. A failing statement does not
/// undo the others. Main thread.
class DatabaseTransaction final
{
public:
    explicit DatabaseTransaction(const DatabaseFile &file);
    ~DatabaseTransaction();
    Q_DISABLE_COPY_MOVE(DatabaseTransaction)

private:
    const DatabaseFile &m_file;
    bool m_begun = false;
};

} // namespace Kavo

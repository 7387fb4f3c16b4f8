#pragma once

#include "core/DatabaseFile.h"

namespace Kavo {

/// What is written to a database file while this stands reaches the disk together: after a sudden
/// end all of it is there or nothing. May be nested; the outermost one counts. A failing statement
/// does not undo the others. Main thread.
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

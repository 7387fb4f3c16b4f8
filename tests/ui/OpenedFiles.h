#pragma once

#include <QString>

namespace Kavo::Testing {

/// Asks the kernel whether anything in a folder was opened.
class OpenedFiles final
{
public:
    explicit OpenedFiles(const QString &folder);
    ~OpenedFiles();
    Q_DISABLE_COPY_MOVE(OpenedFiles)

    /// Whether a file was opened since the last call.
    bool any();

private:
    int m_queue;
};

} // namespace Kavo::Testing

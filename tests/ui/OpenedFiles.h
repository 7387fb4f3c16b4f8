#pragma once

#include <QString>

namespace Kavo::Testing {

/// Detects by means of inotify whether files in a folder are opened. Subfolders are not watched.
class OpenedFiles final
{
public:
    explicit OpenedFiles(const QString &folder);
    ~OpenedFiles();
    Q_DISABLE_COPY_MOVE(OpenedFiles)

    /// Whether any file was opened since the previous call.
    bool any();

private:
    int m_queue;
};

} // namespace Kavo::Testing

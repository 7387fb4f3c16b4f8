#pragma once

#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// A wrapper script for 7-Zip that blocks each extraction until open() is called, so that a test
/// controls how long an installation takes. Other commands of 7-Zip do not wait.
class GatedExtractor final
{
public:
    /// Writes the script to the engine's profile. The engine uses it from the next start() on.
    explicit GatedExtractor(Engine &engine);
    /// Writes the script to the folder, whose path ends in a separator.
    explicit GatedExtractor(const QString &folder);
    /// Calls open(), so that no process keeps waiting after a failed test.
    ~GatedExtractor();
    Q_DISABLE_COPY_MOVE(GatedExtractor)

    QString program() const { return m_folder + "gated7z"_s; }
    /// Runs the event loop until the first extraction has started. Returns false after a time
    /// limit.
    bool waitUntilReached() const;
    /// Lets the waiting extraction and all later ones run. May be called on any thread.
    void open() const;

private:
    QString m_folder;
};

} // namespace Kavo::Testing

#pragma once

#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// A 7-Zip that waits at a gate before it unpacks, so that a test decides how long an installation
/// takes.
class GatedExtractor final
{
public:
    /// Makes the next start of the engine use it. The gate is shut.
    explicit GatedExtractor(Engine &engine);
    /// Installs the program in the folder, whose path ends in a separator.
    explicit GatedExtractor(const QString &folder);
    /// Opens the gate, so that nothing waits after a failed test.
    ~GatedExtractor();
    Q_DISABLE_COPY_MOVE(GatedExtractor)

    QString program() const { return m_folder + "gated7z"_s; }
    /// Runs the event loop until an extraction waits at the gate. Returns false if none does.
    bool waitUntilReached() const;
    /// Releases the waiting extraction and all later ones. Callable from any thread.
    void open() const;

private:
    QString m_folder;
};

} // namespace Kavo::Testing

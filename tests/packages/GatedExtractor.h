#pragma once

#include "tests/packages/Engine.h"

namespace Kavo::Testing {

/// A 7-Zip that waits at a gate before it unpacks: a long installation for as long as a test wants.
class GatedExtractor final
{
public:
    /// Lets the next start of the engine unpack with it. The gate is shut.
    explicit GatedExtractor(Engine &engine);
    /// Puts the program into the folder, which ends in a separator.
    explicit GatedExtractor(const QString &folder);
    /// Opens the gate, so that nothing waits for ever after a failed test.
    ~GatedExtractor();
    Q_DISABLE_COPY_MOVE(GatedExtractor)

    QString program() const { return m_folder + "gated7z"_s; }
    /// Runs the event loop until an extraction has come to the gate; false when none does.
    bool waitUntilReached() const;
    /// Lets whatever waits go on, and all that comes later. Callable from any thread.
    void open() const;

private:
    QString m_folder;
};

} // namespace Kavo::Testing

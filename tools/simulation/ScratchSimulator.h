#pragma once

#include "packages/installation/InstallationResult.h"
#include "packages/installation/PackageFiles.h"
#include "packages/model/Package.h"

#include <QSet>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Tools {

/// A stand-in for a simulator in a temporary folder, with the engine's folders for copies.
/// Everything is deleted with the object. Blocks; for one thread at a time.
class ScratchSimulator final
{
public:
    explicit ScratchSimulator(QString extractor);

    /// Creates everything again. Returns whether it succeeded.
    bool reset();
    /// Creates a file of the simulator at a path, if possible.
    void putOriginal(const QString &place) const;
    /// Saves the present state for restore(). Both return whether they succeeded.
    bool keep() const;
    bool restore() const;

    /// Installs a version from an archive that clients would store under `name`. The archive itself
    /// is not changed.
    Models::InstallationResult install(const Models::PackagePointer &package,
                                       const Models::PackageVersionPointer &version,
                                       const QString &archive, const QString &name) const;

    /// The files and links in the simulator's folder by their relative paths.
    QSet<QString> files() const;
    /// Whether a file of the simulator still exists.
    bool hasOriginal(const QString &place) const;
    /// The simulator's folder with a trailing separator.
    QString folder() const { return path(QStringLiteral("work/simulator/")); }

private:
    QString path(const QString &name) const { return m_scratch.path() + QLatin1Char('/') + name; }

    QTemporaryDir m_scratch;
    QString m_extractor;
};

} // namespace Kavo::Tools

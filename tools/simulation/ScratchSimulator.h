#pragma once

#include "packages/installation/InstallationResult.h"
#include "packages/installation/PackageFiles.h"
#include "packages/model/Package.h"

#include <QSet>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Tools {

/// A simulator of folders alone in a temporary folder, with the folders that the engine keeps
/// copies in. All of it is gone when the object is. Blocks; for one thread at a time.
class ScratchSimulator final
{
public:
    explicit ScratchSimulator(QString extractor);

    /// Makes everything anew. Returns whether that could be done.
    bool reset();
    /// Puts a file of the simulator's own at a place, if there can be one.
    void putOriginal(const QString &place) const;
    /// Notes how everything is, for restore(). Both return whether that could be done.
    bool keep() const;
    bool restore() const;

    /// Installs a version from an archive that clients would store under `name`. The archive itself
    /// is not touched.
    Models::InstallationResult install(const Models::PackagePointer &package,
                                       const Models::PackageVersionPointer &version,
                                       const QString &archive, const QString &name) const;

    /// The files and links in the simulator's folder, by their paths from there on.
    QSet<QString> files() const;
    /// Whether a file that was put there still stands there.
    bool hasOriginal(const QString &place) const;
    /// The simulator's folder, with a separator at the end.
    QString folder() const { return path(QStringLiteral("work/simulator/")); }

private:
    QString path(const QString &name) const { return m_scratch.path() + QLatin1Char('/') + name; }

    QTemporaryDir m_scratch;
    QString m_extractor;
};

} // namespace Kavo::Tools

#pragma once

#include "packages/model/Package.h"
#include "tests/support/Literals.h"

namespace Kavo::Testing {

inline Models::PackageVersionPointer
makeVersion(const QString &text, const QStringList &depends = {}, const QStringList &log = {})
{
    auto version = Models::PackageVersionPointer::create();
    version->version = text;
    version->depends = depends;
    version->log = log;
    return version;
}

/// An available package with these versions, newest first. Its default name is "package-ID".
inline Models::PackagePointer makePackage(int id,
                                          const QVector<Models::PackageVersionPointer> &versions,
                                          const QString &name = QString())
{
    auto package = Models::PackagePointer::create();
    package->setId(id);
    package->setName(name.isEmpty() ? "package-%1"_s.arg(id) : name);
    package->setVersions(versions);
    package->setState(Models::Package::AVAILABLE);
    return package;
}

} // namespace Kavo::Testing

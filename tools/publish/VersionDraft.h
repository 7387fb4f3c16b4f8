#pragma once

#include "packages/model/PackageVersion.h"
#include "tools/publish/JsonDraft.h"

#include <QString>

namespace Kavo::Tools {

/// The data of a new package, in English.
struct PackageDraft
{
    int id = 0;
    QString name;
    QString description;
    QString shortDescription;
    QString icon;
    QString type;
};

/// Drafts of catalogue objects, with their keys in the order of the documentation. A version has
/// all keys that clients read, a package those that `kavo-catalogue add` has options for.
JsonDraft draftOf(const Models::PackageVersion &version);
JsonDraft draftOf(const PackageDraft &package, const JsonDraft &version);

} // namespace Kavo::Tools

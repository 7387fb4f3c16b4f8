#include "tools/publish/VersionDraft.h"

#include <utility>

namespace Kavo::Tools {

namespace {

void addTranslation(JsonDraft &package, QLatin1String key, const QString &text)
{
    JsonDraft texts = JsonDraft::ofObject();
    if (!text.isEmpty())
        texts.add(QLatin1String("en"), JsonDraft::ofText(text));
    package.add(key, texts);
}

void addText(JsonDraft &object, QLatin1String key, const QString &text)
{
    if (!text.isEmpty())
        object.add(key, JsonDraft::ofText(text));
}

} // namespace

JsonDraft draftOf(const Models::PackageVersion &version)
{
    JsonDraft install = JsonDraft::ofObject();
    install.add(QLatin1String("extract"), JsonDraft::ofText(version.install->extract));
    install.add(QLatin1String("preserve"), JsonDraft::ofTexts(version.install->preserve));
    install.add(QLatin1String("backup"), JsonDraft::ofTexts(version.install->backup));
    JsonDraft uninstall = JsonDraft::ofObject();
    uninstall.add(QLatin1String("remove"), JsonDraft::ofTexts(version.uninstall->remove));

    JsonDraft draft = JsonDraft::ofObject();
    addText(draft, QLatin1String("version"), version.version);
    addText(draft, QLatin1String("link"), version.link);
    if (version.size)
        draft.add(QLatin1String("size"), JsonDraft::ofNumber(*version.size));
    addText(draft, QLatin1String("sha256"), version.sha256);
    draft.add(QLatin1String("depends"), JsonDraft::ofTexts(version.depends));
    draft.add(QLatin1String("log"), JsonDraft::ofTexts(version.log));
    draft.add(QLatin1String("install"), std::move(install));
    draft.add(QLatin1String("uninstall"), std::move(uninstall));
    return draft;
}

JsonDraft draftOf(const PackageDraft &package, const JsonDraft &version)
{
    JsonDraft draft = JsonDraft::ofObject();
    draft.add(QLatin1String("id"), JsonDraft::ofNumber(package.id));
    addTranslation(draft, QLatin1String("name"), package.name);
    addTranslation(draft, QLatin1String("short_description"), package.shortDescription);
    addTranslation(draft, QLatin1String("description"), package.description);
    addText(draft, QLatin1String("icon"), package.icon);
    addText(draft, QLatin1String("type"), package.type);
    JsonDraft versions = JsonDraft::ofArray();
    versions.append(version);
    draft.add(QLatin1String("versions"), std::move(versions));
    return draft;
}

} // namespace Kavo::Tools

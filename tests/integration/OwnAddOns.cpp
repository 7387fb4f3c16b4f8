#include "tests/integration/OwnAddOns.h"

#include "tests/packages/UpdateSetup.h"

namespace Kavo::Testing {

namespace {

constexpr int Library = 2;
constexpr int PlugIn = 10;
constexpr int Scenery = 11;

const QString Lights = QStringLiteral("bitmaps/lights.png");
const QString Alert = QStringLiteral("sounds/alert.wav");

/// Under the folder that the plug-in is unpacked into.
QString inResources(const QString &path)
{
    return QStringLiteral("Resources/") + path;
}

Offer library()
{
    Offer offer{Library};
    offer.extract = QStringLiteral("Custom Scenery");
    offer.remove = QStringList{QStringLiteral("Custom Scenery/Kavo Lib")};
    return offer;
}

Offer plugIn()
{
    Offer offer{PlugIn};
    offer.extract = QStringLiteral("Resources");
    offer.preserve = QStringList{inResources(QStringLiteral("plugins/Alpha/settings.ini")),
                                 inResources(QStringLiteral("plugins/Alpha/data/profile.dat"))};
    offer.backup = QStringList{inResources(Lights), inResources(Alert)};
    offer.remove = QStringList{inResources(QStringLiteral("plugins/Alpha"))} + offer.backup;
    return offer;
}

Offer scenery()
{
    Offer offer{Scenery};
    offer.extract = QStringLiteral("Custom Scenery/Beta Field");
    offer.preserve = QStringList{QStringLiteral("Custom Scenery/Beta Field/notes.txt")};
    offer.remove = QStringList{QStringLiteral("Custom Scenery/Beta Field")};
    return offer;
}

/// The archive of a version: files of the given folder, and some further ones.
Files filesOf(const AddOnSizes &sizes, quint32 seed, const QString &version, const QString &folder,
              const QStringList &further)
{
    Files files{{folder + QStringLiteral("/big.dat"), noise(seed, sizes.archiveBytes)},
                // Something of each version alone, so that it shows when an update leaves
                // something behind.
                {folder + QStringLiteral("/only in ") + version, "here"}};
    for (int number = 0; number < sizes.archiveFiles; ++number) {
        const QString name = QStringLiteral("/%1/part %2.txt").arg(number % 7).arg(number);
        files.insert(folder + name,
                     version.toUtf8() + noise(seed + 1 + static_cast<quint32>(number), 200));
    }
    for (const QString &path : further)
        files.insert(path, noise(seed + static_cast<quint32>(path.size()), sizes.ownBytes));
    return files;
}

} // namespace

AddOns offerOwnAddOns(Engine &engine, const AddOnSizes &sizes, quint32 seed)
{
    AddOns addOns;
    const auto add = [&](Offer offer, const QString &version, const QString &folder,
                         const QStringList &further) {
        // Far enough from each other that no two archives share their noise.
        seed = seed * 1103515245U + 12345U;
        offer.version = version;
        offer.link = QStringLiteral("/package-%1-%2.zip").arg(offer.id).arg(version);
        offer.files = filesOf(sizes, seed, version, folder, further);
        engine.offer(offer);
        AddOns::Version added{offer.link, offer.depends, offer.preserve, offer.backup, {}};
        for (auto file = offer.files.cbegin(); file != offer.files.cend(); ++file)
            added.files.insert(offer.extract + QLatin1Char('/') + file.key(), file.value());
        addOns.add(offer.id, version, added);
    };
    for (const QString &version : {QStringLiteral("1.0"), QStringLiteral("2.0")}) {
        Offer needing = plugIn();
        needing.depends = QStringList{QStringLiteral("%1:%2").arg(Library).arg(version)};
        add(library(), version, QStringLiteral("Kavo Lib"), {});
        add(needing, version, QStringLiteral("plugins/Alpha"), {Lights, Alert});
        add(scenery(), version, QStringLiteral("Earth nav data"), {});
    }
    engine.serveCatalogue();
    return addOns;
}

} // namespace Kavo::Testing

#include "tests/integration/OwnAddOns.h"

#include "tests/packages/UpdateSetup.h"

namespace Kavo::Testing {

namespace {

constexpr int Library = 2;
constexpr int PlugIn = 10;
constexpr int Scenery = 11;

const QString Lights = "bitmaps/lights.png"_s;
const QString Alert = "sounds/alert.wav"_s;

const QStringList Settings{"Resources/plugins/Alpha/settings.ini"_s,
                           "Resources/plugins/Alpha/data/profile.dat"_s};
const QStringList Replaced{"Resources/"_s + Lights, "Resources/"_s + Alert};

/// The files in the archive of a version: those in the given folder, and `further` ones.
Files filesOf(const AddOnSizes &sizes, quint32 seed, const QString &version, const QString &folder,
              const QStringList &further)
{
    Files files{{folder + "/big.dat"_s, noise(seed, sizes.archiveBytes)},
                // A file that only this version has detects files left by an update.
                {folder + "/only in "_s + version, "here"}};
    for (int number = 0; number < sizes.archiveFiles; ++number) {
        const QString name = "/%1/part %2.txt"_s.arg(number % 7).arg(number);
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
        // Each archive has different random content.
        seed = seed * 1103515245U + 12345U;
        offer.version = version;
        offer.link = "/package-%1-%2.zip"_s.arg(offer.id).arg(version);
        offer.files = filesOf(sizes, seed, version, folder, further);
        engine.offer(offer);
        addOns.add(offer.id, version,
                   {offer.link, offer.depends, offer.preserve, offer.backup,
                    filesIn(offer.extract, offer.files)});
    };
    const QString beta = "Custom Scenery/Beta Field"_s;
    for (const QString &version : {"1.0"_s, "2.0"_s}) {
        add(Offer{Library}.into("Custom Scenery"_s).removing({"Custom Scenery/Kavo Lib"_s}),
            version, "Kavo Lib"_s, {});
        add(Offer{PlugIn}
                .into("Resources"_s)
                .needing({"%1:%2"_s.arg(Library).arg(version)})
                .keeping(Settings)
                .backingUp(Replaced)
                .removing(QStringList{"Resources/plugins/Alpha"_s} + Replaced),
            version, "plugins/Alpha"_s, {Lights, Alert});
        add(Offer{Scenery}.into(beta).keeping({beta + "/notes.txt"_s}).removing({beta}), version,
            "Earth nav data"_s, {});
    }
    engine.serveCatalogue();
    return addOns;
}

} // namespace Kavo::Testing

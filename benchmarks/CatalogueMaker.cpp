#include "benchmarks/CatalogueMaker.h"

#include "benchmarks/Random.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace Kavo::Benchmarks {

namespace {

constexpr std::uint64_t Seed = 20;
constexpr int LibraryId = 1;

const char *const English[] = {"airport", "runway",   "lights",   "with",    "detailed",
                               "ground",  "textures", "for",      "every",   "season",
                               "and",     "the",      "night",    "harbour", "traffic",
                               "terrain", "gate",     "vehicles", "custom",  "autogen"};
const char *const German[] = {"Flughafen", "Landebahn", "Lichter",   "mit",    "genaue",
                              "Boden",     "Texturen",  "für",       "jede",   "Jahreszeit",
                              "und",       "die",       "Nacht",     "Häfen",  "Verkehr",
                              "Gelände",   "Straßen",   "Schlösser", "eigene", "Gebäude"};

template<std::size_t Count>
QString words(Random &random, const char *const (&list)[Count], int count)
{
    QStringList chosen;
    for (int i = 0; i < count; ++i)
        chosen.append(QString::fromUtf8(list[random.below(static_cast<int>(Count))]));
    return chosen.join(QLatin1Char(' '));
}

QJsonObject localised(Random &random, int count)
{
    return {{QStringLiteral("en"), words(random, English, count)},
            {QStringLiteral("de"), words(random, German, count)}};
}

/// The version that is `age` versions older than the newest, which is 1000.9.0 for every package.
QString versionText(int age)
{
    return QStringLiteral("%1.%2.0").arg(1000 - age / 10).arg(9 - age % 10);
}

/// 60 % of the packages depend on the library. With 0 to 3 others, 1.4 on average, a package has
/// two dependencies on average.
QStringList dependencies(Random &random, int id)
{
    QStringList depends;
    if (id != LibraryId && random.chance(60))
        depends.append(QStringLiteral("%1:%2").arg(LibraryId).arg(versionText(20)));
    const int others = id > LibraryId + 1 ? (random.below(4) + random.below(4) + 1) / 2 : 0;
    for (int i = 0; i < others && random.chance(80); ++i) {
        const QString need =
            QStringLiteral("%1:%2").arg(2 + random.below(id - 2)).arg(versionText(5));
        // Clients refuse a version that names one package twice.
        if (!depends.contains(need))
            depends.append(need);
    }
    return depends;
}

QJsonObject makeVersion(Random &random, int id, int age, const QStringList &depends,
                        const QString &server)
{
    const QString version = versionText(age);
    const QString folder = QStringLiteral("Custom Scenery/Package %1").arg(id);
    const QString settings = QStringLiteral("%1/settings.ini").arg(folder);
    QJsonArray log;
    for (int line = random.below(6); line > 0; --line)
        log.append(words(random, English, 4 + random.below(8)));
    const QJsonObject install{{QStringLiteral("extract"), folder},
                              {QStringLiteral("preserve"), QJsonArray{settings}},
                              {QStringLiteral("backup"), QJsonArray()}};
    const QJsonObject uninstall{{QStringLiteral("remove"), QJsonArray{folder}}};
    return {{QStringLiteral("version"), version},
            {QStringLiteral("link"),
             QStringLiteral("%1archives/package-%2-%3.7z").arg(server).arg(id).arg(version)},
            {QStringLiteral("depends"), QJsonArray::fromStringList(depends)},
            {QStringLiteral("log"), log},
            {QStringLiteral("install"), install},
            {QStringLiteral("uninstall"), uninstall}};
}

QJsonArray makeVersions(Random &random, int id, const QString &server)
{
    constexpr double Median = 2.9;
    constexpr double Sigma = 1.46;
    constexpr double Most = 900;
    const QStringList depends = dependencies(random, id);
    const int count =
        static_cast<int>(std::clamp(std::round(random.logNormal(Median, Sigma)), 1.0, Most));
    QJsonArray versions;
    for (int age = 0; age < count; ++age)
        versions.append(makeVersion(random, id, age, depends, server));
    return versions;
}

QString typeOf(Random &random, int id)
{
    if (id == LibraryId || random.chance(5))
        return QStringLiteral("LIBRARY");
    return random.chance(30) ? QStringLiteral("PLUGIN") : QStringLiteral("SCENERY");
}

QJsonObject makePackage(Random &random, int id, const QString &server)
{
    QJsonArray banners;
    for (int i = random.below(5); i > 0; --i)
        banners.append(QStringLiteral("%1banners/%2-%3.jpg").arg(server).arg(id).arg(i));
    return {{QStringLiteral("id"), id},
            {QStringLiteral("product_id"), random.chance(10) ? id : 0},
            {QStringLiteral("name"), localised(random, 3)},
            {QStringLiteral("short_description"), localised(random, 10)},
            {QStringLiteral("description"), localised(random, 40 + random.below(200))},
            {QStringLiteral("icon"), QStringLiteral("%1icons/%2.png").arg(server).arg(id)},
            {QStringLiteral("banner"), banners},
            {QStringLiteral("type"), typeOf(random, id)},
            {QStringLiteral("manual_url"), QStringLiteral("%1manuals/%2").arg(server).arg(id)},
            {QStringLiteral("help_url"), QStringLiteral("%1help/%2").arg(server).arg(id)},
            {QStringLiteral("versions"), makeVersions(random, id, server)}};
}

} // namespace

QByteArray makeCatalogue(int packages, const QString &server)
{
    Random random(Seed);
    QJsonArray array;
    for (int id = 1; id <= packages; ++id)
        array.append(makePackage(random, id, server));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QString newestVersion()
{
    return versionText(0);
}

} // namespace Kavo::Benchmarks

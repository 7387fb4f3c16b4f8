#include "tests/integration/AddOns.h"

#include <QVersionNumber>

#include <algorithm>

namespace Kavo::Testing {

namespace {

bool isOlder(const QString &one, const QString &other)
{
    return QVersionNumber::fromString(one) < QVersionNumber::fromString(other);
}

int idOf(const QString &dependency)
{
    return dependency.section(QLatin1Char(':'), 0, 0).toInt();
}

} // namespace

void AddOns::add(int id, const QString &text, const Version &version)
{
    m_versions[id].insert(text, version);
}

const AddOns::Version &AddOns::version(int id, const QString &text) const
{
    const auto package = m_versions.constFind(id);
    if (package == m_versions.cend() || !package->contains(text))
        qFatal("There is no version %s of package %d", qUtf8Printable(text), id);
    return *package->constFind(text);
}

QString AddOns::newest(int id) const
{
    const QStringList texts = m_versions.value(id).keys();
    return *std::max_element(texts.cbegin(), texts.cend(), isOlder);
}

QVector<AddOns::Version> AddOns::versions() const
{
    QVector<Version> all;
    for (const auto &package : m_versions)
        all += package.values().toVector();
    return all;
}

QVector<AddOns::Version> AddOns::versions(const Installed &installed) const
{
    QVector<Version> found;
    for (const int id : installed.keys())
        found.append(version(id, installed.value(id)));
    return found;
}

void AddOns::install(Installed &installed, int id, const QString &text) const
{
    const QString wanted = text.isEmpty() ? newest(id) : text;
    installed.insert(id, wanted);
    for (const QString &dependency : version(id, wanted).depends) {
        const int needed = idOf(dependency);
        const QString least = dependency.section(QLatin1Char(':'), 1);
        if (!installed.contains(needed) || isOlder(installed.value(needed), least))
            install(installed, needed, QString());
    }
}

void AddOns::uninstall(Installed &installed, int id) const
{
    installed.remove(id);
    for (const int other : installed.keys()) {
        const QStringList depends = installed.contains(other)
                                        ? version(other, installed.value(other)).depends
                                        : QStringList();
        if (std::any_of(depends.cbegin(), depends.cend(),
                        [id](const QString &dependency) { return idOf(dependency) == id; }))
            uninstall(installed, other);
    }
}

} // namespace Kavo::Testing

#include "tools/check/AddressCheck.h"

#include "core/SevenZipProcess.h"
#include "downloads/Download.h"

#include <QFile>
#include <QUrl>

namespace Kavo::Tools {

namespace {

/// The longest file name that clients can download; they may append a suffix to it.
constexpr int LongestFileName = 246;

} // namespace

AddressCheck::AddressCheck(Findings &findings) : m_findings(findings) {}

void AddressCheck::check(const CatalogueView &catalogue)
{
    for (const PackageView &package : catalogue.packages()) {
        for (const char *key : {"icon", "manual_url", "help_url"})
            checkPage(package.node->member(QLatin1String(key)));
        for (const JsonNode &banner : JsonChildren(arrayIn(package.node, QLatin1String("banner"))))
            checkPage(&banner);
        for (const VersionView &version : package.versions) {
            if (version.node->isObject())
                checkLink(package, version);
        }
    }
}

void AddressCheck::checkLink(const PackageView &package, const VersionView &version)
{
    const JsonNode *const node = version.node->member(QLatin1String("link"));
    if (!node || node->isEmptyText()) {
        m_findings.add(Rule::ADDRESS_MISSING, node ? *node : *version.node,
                       QStringLiteral("The version has no address of an archive."));
        return;
    }
    if (!node->isText())
        return;
    const QUrl url(node->text());
    if (!checkAddress(*node, url))
        return;
    checkFileName(*node, url, true);
    checkShared(*node, {&package, &version});
}

void AddressCheck::checkShared(const JsonNode &link, const Use &use)
{
    const auto known = m_uses.constFind(link.text());
    if (known == m_uses.constEnd()) {
        m_uses.insert(link.text(), use);
        return;
    }
    const QString other = QStringLiteral("version \"%1\" of %2")
                              .arg(known->version->version, known->package->label());
    if (contradict(*known->version, *use.version))
        m_findings.add(Rule::ADDRESS_CONTRADICTING, link,
                       QStringLiteral("The catalogue says another size or checksum of this archive "
                                      "at %1.")
                           .arg(other));
    m_findings.add(known->package == use.package ? Rule::ADDRESS_SHARED_BY_VERSIONS
                                                 : Rule::ADDRESS_SHARED_BY_PACKAGES,
                   link, QStringLiteral("This is also the archive of %1.").arg(other));
}

bool AddressCheck::contradict(const VersionView &first, const VersionView &second) const
{
    const JsonNode *const sizes[] = {first.node->member(QLatin1String("size")),
                                     second.node->member(QLatin1String("size"))};
    if (sizes[0] && sizes[1] && sizes[0]->number() != sizes[1]->number())
        return true;
    const QString sums[] = {readText(first.node->member(QLatin1String("sha256"))),
                            readText(second.node->member(QLatin1String("sha256")))};
    return !sums[0].isEmpty() && !sums[1].isEmpty() &&
           sums[0].compare(sums[1], Qt::CaseInsensitive) != 0;
}

/// An address of an optional file.
void AddressCheck::checkPage(const JsonNode *node)
{
    if (!node || !node->isText())
        return;
    if (node->isEmptyText()) {
        m_findings.add(Rule::ADDRESS_EMPTY, *node, QStringLiteral("The address is empty."));
        return;
    }
    const QUrl url(node->text());
    if (checkAddress(*node, url))
        checkFileName(*node, url, false);
}

bool AddressCheck::checkAddress(const JsonNode &node, const QUrl &url)
{
    if (!url.isValid() || url.scheme().isEmpty()) {
        m_findings.add(Rule::ADDRESS_INVALID, node,
                       QStringLiteral("\"%1\" is no whole address.").arg(node.text()));
        return false;
    }
    if (url.scheme() != QLatin1String("http") && url.scheme() != QLatin1String("https")) {
        m_findings.add(Rule::ADDRESS_SCHEME, node,
                       QStringLiteral("The address begins with \"%1:\".").arg(url.scheme()));
        return false;
    }
    if (url.host().isEmpty()) {
        m_findings.add(Rule::ADDRESS_INVALID, node,
                       QStringLiteral("\"%1\" names no server.").arg(node.text()));
        return false;
    }
    if (!url.userInfo().isEmpty())
        m_findings.add(Rule::ADDRESS_USER_NAME, node,
                       QStringLiteral("There is a user name in the address."));
    return true;
}

void AddressCheck::checkFileName(const JsonNode &node, const QUrl &url, bool isArchive)
{
    const QString name = Models::Download::fileNameIn(url);
    const int length = QFile::encodeName(name).size();
    if (length > LongestFileName)
        m_findings.add(Rule::ADDRESS_FILE_NAME, node,
                       QStringLiteral("The name of the file has %1 bytes.").arg(length));
    if (!isArchive)
        return;
    if (name.isEmpty())
        m_findings.add(Rule::ADDRESS_NO_FILE_NAME, node,
                       QStringLiteral("The address ends in a slash or in no path at all."));
    else if (Extractors::SevenZipProcess::isPattern(name))
        m_findings.add(Rule::ADDRESS_FILE_NAME, node,
                       QStringLiteral("\"%1\" is a pattern to 7-Zip.").arg(name));
}

} // namespace Kavo::Tools

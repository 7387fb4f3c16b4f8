#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/CheckReport.h"
#include "tools/check/JsonTree.h"
#include "tools/publish/ArchiveLook.h"
#include "tools/publish/TextEdit.h"
#include "tools/publish/VersionDraft.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo::Tools {

/// The publisher's input for a new version. The rest comes from the previous version and from the
/// archive.
struct AdditionOrder
{
    PackageDraft package; ///< only the id is used for an existing package
    QString version;
    std::optional<QString> link;
    std::optional<QString> linkPrefix; ///< folder of the archive on the server
    std::optional<QString> extract;
    std::optional<QStringList> depends;
    std::optional<QStringList> preserve;
    std::optional<QStringList> backup;
    std::optional<QStringList> remove;
    QStringList log;
};

/// Adds a version to a catalogue in memory. Uses no file. For one thread.
///
/// It refuses a catalogue if it is doubtful how clients read it, and a version that would be an
/// error.
class Addition final
{
public:
    enum class Outcome {
        GOOD,
        NOT_UNDERSTOOD, ///< the input is incomplete or contradictory
        REFUSED,
    };

    Addition(const QByteArray &catalogue, AdditionOrder order);

    /// Checks the input, as far as possible without the archive.
    Outcome prepare();
    /// Creates the new catalogue. To be called after a successful check.
    Outcome carryOut(const ArchiveLook &archive);

    /// The reason of a failure as a sentence.
    QString fault() const { return m_fault; }
    /// The findings that prevent the addition, or that are new with it and worth knowing.
    const CheckReport &findings() const { return m_findings; }

    /// The new catalogue.
    const QByteArray &result() const { return m_result; }
    /// The added version.
    const Models::PackageVersion &version() const { return m_version; }
    QString packageLabel() const;
    /// Folders whose files are removed one by one, see RemovalRules.
    const QStringList &undecidedFolders() const { return m_undecided; }

private:
    Outcome end(Outcome outcome, const QString &fault);
    Outcome checkCatalogueBefore();
    Outcome checkOrder();
    Outcome checkVersionIsNew();
    const PackageView *package() const;
    const VersionView *versionBefore() const;
    QString link(const QString &fileName) const;
    QStringList carried(const std::optional<QStringList> &said, QLatin1String object,
                        QLatin1String key) const;
    void describeVersion(const ArchiveLook &archive);
    QStringList removalRules(const ArchiveLook &archive);
    TextEdit edit() const;
    Outcome checkResult(const TextEdit &edit);

    QByteArray m_catalogue;
    AdditionOrder m_order;
    JsonTree m_tree;
    CatalogueView m_view;
    CheckReport m_before;
    int m_package = -1; ///< index, negative for a new package

    Models::PackageVersion m_version;
    QByteArray m_result;
    QStringList m_undecided;
    CheckReport m_findings;
    QString m_fault;
};

} // namespace Kavo::Tools

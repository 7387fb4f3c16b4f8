#include "tests/tools/CatalogueCorpus.h"

#include "tests/support/Files.h"
#include "tests/support/Literals.h"

namespace Kavo::Testing {

QString corpusFolder()
{
    return QStringLiteral(KAVO_CATALOGUE_CORPUS);
}

QVector<CorpusCatalogue> corpusCatalogues()
{
    QVector<CorpusCatalogue> catalogues;
    const QString expected = QString::fromUtf8(readFile(corpusFolder() + "/expected.txt"_s));
    for (const QString &line : expected.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString name = line.section(QLatin1Char(' '), 0, 0);
        if (catalogues.isEmpty() || catalogues.constLast().name != name) {
            const QString file = corpusFolder() + QLatin1Char('/') + name + ".json"_s;
            catalogues.append({name, readFile(file), {}});
        }
        const QString finding = line.section(QLatin1Char(' '), 1);
        if (!finding.isEmpty())
            catalogues.last().findings.append(finding);
    }
    return catalogues;
}

} // namespace Kavo::Testing

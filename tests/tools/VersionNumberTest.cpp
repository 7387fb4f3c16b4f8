#include "tools/check/VersionNumber.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using Kavo::Tools::readVersionNumber;

class VersionNumberTest final : public QObject
{
    Q_OBJECT

private slots:
    void endIsWhereTheNumbersEnd_data()
    {
        Rows<QString, QString> rows;
        const auto row = [&rows](const char *counts, const char *rest) {
            rows.row(QByteArray(counts) + '|' + rest, counts, rest);
        };
        row("1.0.0", "");
        row("7", "");
        row("1.02.003", "");
        row("1.0", "-rc1");
        row("1.2", ".");
        row("1.2", "..3");
        row("1.2", ".x");
        row("1.2", ",3");
        row("1.2", " ");
        row("1", ".99999999999");
        row(" 1. 2", "b");
        row("+1.+2", "+");
        row("", "v1.0");
        row("", "-1.0");
        row("", "");
    }

    void endIsWhereTheNumbersEnd()
    {
        const auto [counts, rest] = Rows<QString, QString>::current();
        const auto read = readVersionNumber(counts + rest);
        QCOMPARE(read.number, QVersionNumber::fromString(counts));
        QCOMPARE(read.number.isNull(), counts.isEmpty());
        QCOMPARE(read.end, counts.size());
    }
};

KAVO_TEST_MAIN(VersionNumberTest)
#include "VersionNumberTest.moc"

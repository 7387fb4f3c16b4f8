#include "packages/catalogue/JsonElements.h"
#include "tests/support/Rows.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <random>

using namespace Kavo::Models;
using namespace Kavo::Testing;

class JsonElementsTest final : public QObject
{
    Q_OBJECT

private slots:
    void agreesWithTheDocument_data();
    void agreesWithTheDocument();
    void agreesWithTheDocumentOnDamagedBytes();
    void elementsComeInOrder();
};

namespace {

/// The elements of the array, or null if the bytes are not exactly one array.
QJsonValue elements(const QByteArray &bytes)
{
    QJsonArray array;
    const bool whole =
        readJsonElements(bytes, [&array](const QJsonValue &element) { array.append(element); });
    return whole ? QJsonValue(array) : QJsonValue();
}

/// The expected result of elements(), from QJsonDocument.
QJsonValue elementsOfDocument(const QByteArray &bytes)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue();
}

} // namespace

void JsonElementsTest::agreesWithTheDocument_data()
{
    Rows<QByteArray, bool>()
        .row("nothing", "", false)
        .row("blanks", " \n", false)
        .row("empty array", "[]", true)
        .row("empty array with blanks", " \t[\r\n ] \n", true)
        .row("byte order mark", "\xef\xbb\xbf[1]", true)
        .row("object", R"({"id": 1})", false)
        .row("text", R"("[1]")", false)
        .row("elements of every type",
             R"([1, -2.5, "text", true, null, [1, [2]], {"a": {"b": []}}])", true)
        .row("brackets and commas in texts", R"(["],[", "}{", {"],": ",["}])", true)
        .row("quotes and backslashes in texts", R"(["\"", "\\", "\\\"],", "a\\"])", true)
        .row("characters by number", R"(["\u00e4\u0022", "\ud83d\ude00"])", true)
        .row("cut character by number", R"(["\u"])", false)
        .row("text that does not end", R"(["a)", false)
        .row("text that ends in a backslash", "[\"a\\", false)
        .row("array that does not end", "[1, 2", false)
        .row("array that ends behind a comma", "[1,", false)
        .row("object that does not end", R"([{"a": 1)", false)
        .row("comma at the end", "[1,]", false)
        .row("comma at the beginning", "[,1]", false)
        .row("only a comma", "[,]", false)
        .row("two commas", "[1,,2]", false)
        .row("no comma", "[1 2]", false)
        .row("something behind the end", "[1] x", false)
        .row("second end", "[1]]", false)
        .row("second array", "[1][2]", false)
        .row("end of another bracket", "[1}", false)
        .row("crossed brackets", "[{]}]", false)
        .row("crossed brackets over elements", "[[1}, {2]]", false)
        .row("fault in the last element", R"([{"a": 1}, {"a" 1}])", false)
        .row("no UTF-8", "[\"\xff\"]", false)
        .row("zero byte", QByteArray("[1,\0 2]", 7), false)
        .row("deepest nesting", QByteArray(1024, '[') + QByteArray(1024, ']'), true)
        .row("deeper nesting", QByteArray(1025, '[') + QByteArray(1025, ']'), false);
}

void JsonElementsTest::agreesWithTheDocument()
{
    const auto [bytes, whole] = Rows<QByteArray, bool>::current();
    QCOMPARE(elements(bytes), elementsOfDocument(bytes));
    QCOMPARE(elements(bytes).isArray(), whole);
}

/// Removes, repeats, cuts off or replaces bytes of a catalogue at random places.
void JsonElementsTest::agreesWithTheDocumentOnDamagedBytes()
{
    const QByteArray sound = R"([{"id": 1, "name": {"en": "a \"b\" [c]"}, "versions": [
        {"version": "1.0", "depends": ["5:1", "6"], "log": []}]}, 2.5e1, "\u00e4\\", [], null])";
    const QByteArray alphabet = "[]{},:\"\\ \n1eu-.tn\xc3\xff";
    std::mt19937 random(1);
    const auto below = [&random](int end) {
        return static_cast<int>(random() % static_cast<unsigned>(end));
    };
    QVERIFY(elements(sound).isArray());

    int whole = 0;
    for (int round = 0; round < 20000; ++round) {
        QByteArray bytes = sound;
        for (int faults = 1 + below(3); faults > 0 && !bytes.isEmpty(); --faults) {
            const int place = below(bytes.size());
            switch (below(4)) {
            case 0:
                bytes.remove(place, 1 + below(4));
                break;
            case 1:
                bytes.insert(place, bytes.mid(place, below(20)));
                break;
            case 2:
                bytes.truncate(place + 1);
                break;
            default:
                bytes[place] = alphabet.at(below(alphabet.size()));
                break;
            }
        }
        QVERIFY2(elements(bytes) == elementsOfDocument(bytes), bytes.constData());
        whole += elements(bytes).isArray() ? 1 : 0;
    }
    // Both outcomes have occurred.
    QVERIFY(whole > 1000);
    QVERIFY(whole < 19000);
}

void JsonElementsTest::elementsComeInOrder()
{
    QVector<int> seen;
    QVERIFY(readJsonElements("[3, 1, 2]",
                             [&seen](const QJsonValue &element) { seen.append(element.toInt()); }));
    QCOMPARE(seen, (QVector<int>{3, 1, 2}));
}

QTEST_APPLESS_MAIN(JsonElementsTest)
#include "JsonElementsTest.moc"

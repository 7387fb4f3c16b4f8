#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/PublishedArchive.h"
#include "tools/check/CatalogueCheck.h"

using namespace Kavo::Testing;
using namespace Kavo::Tools;

using Outcome = Addition::Outcome;

/// Tests that new entries have the style of the catalogue, and that the rest of the catalogue stays
/// the same, byte for byte.
class AdditionStyleTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCOMPARE(m_archive.outcome(), ArchiveLook::Outcome::GOOD); }
    void versionLooksLikeItsNeighbours_data();

    void versionLooksLikeItsNeighbours()
    {
        const auto [before, after] = Rows<QByteArray, QByteArray>::current();
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.log = QStringList{R"(Lights "b")"_s, R"(Schöner\)"_s};
        if (!before.contains("1.0")) {
            order.extract = "Resources/plugins"_s;
            order.linkPrefix = "https://b.example/"_s;
        }
        compare(before, after, order);
    }

    void packageLooksLikeItsNeighbours_data();

    void packageLooksLikeItsNeighbours()
    {
        const auto [before, after] = Rows<QByteArray, QByteArray>::current();
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.package.name = "Piers"_s;
        order.package.type = "PLUGIN"_s;
        order.extract = "Resources/plugins"_s;
        order.linkPrefix = "https://b.example"_s;
        compare(before, after, order);
    }

    void versionsStayInTheirOrder_data()
    {
        Rows<QByteArray, QByteArray>()
            .row("newest first", "1.0 0.9", "1.1 1.0 0.9")
            .row("oldest first", "0.9 1.0", "0.9 1.0 1.1")
            .row("a single one", "1.0", "1.1 1.0")
            .row("a single newer one", "1.10", "1.10 1.1")
            .row("between, newest first", "1.10 1.2 1.0 0.9", "1.10 1.2 1.1 1.0 0.9")
            .row("between, oldest first", "0.9 1.0 1.2 1.10", "0.9 1.0 1.1 1.2 1.10")
            .row("the oldest, newest first", "1.10 1.2", "1.10 1.2 1.1")
            .row("the oldest, oldest first", "1.2 1.10", "1.1 1.2 1.10")
            .row("no order", "1.0 1.10 0.9", "1.0 1.10 0.9 1.1");
    }

    void versionsStayInTheirOrder()
    {
        const auto [before, after] = Rows<QByteArray, QByteArray>::current();
        QByteArrayList versions;
        for (const QByteArray &version : before.split(' '))
            versions.append("{'version':'" + version + "','link':'https://a.example/" + version +
                            ".zip','install':{'extract':'Resources/plugins'},'uninstall':{'remove':"
                            "['Resources/plugins/Piers']}}");
        const QByteArray catalogue =
            QByteArray("[{'id':5,'name':{'en':'Piers'},'type':'PLUGIN','versions':[" +
                       versions.join(", ") + "]}]")
                .replace('\'', '"');
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.extract = "Resources/plugins"_s;
        Addition addition(catalogue, order);
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        const JsonTree tree(addition.result());
        QStringList found;
        const CatalogueView view(tree.root());
        for (const VersionView &version : view.packages().front().versions)
            found.append(version.version);
        QCOMPARE(found.join(QLatin1Char(' ')), QString::fromLatin1(after));
        // A catalogue with a single version does not show how versions are separated.
        QCOMPARE(addition.result().count("}, {"), versions.size() > 1 ? versions.size() : 0);
    }

    void packagesStayInTheirOrder_data()
    {
        Rows<QVector<int>, QVector<int>>()
            .row("at the end", {1, 2}, {1, 2, 5})
            .row("between", {1, 2, 9, 12}, {1, 2, 5, 9, 12})
            .row("in front", {8, 9}, {5, 8, 9})
            .row("no order", {8, 1, 9}, {8, 1, 9, 5})
            .row("a single one", {8}, {8, 5});
    }

    void packagesStayInTheirOrder()
    {
        const auto [before, after] = Rows<QVector<int>, QVector<int>>::current();
        QByteArrayList packages;
        for (const int id : before)
            packages.append(R"({"id":)" + QByteArray::number(id) + R"(,"name":{"en":"P"}})");
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.package.name = "Piers"_s;
        order.extract = "Resources/plugins"_s;
        order.link = "https://a.example/b.zip"_s;
        Addition addition("[" + packages.join(",\n ") + "]", order);
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        const JsonTree tree(addition.result());
        QVector<int> found;
        const CatalogueView view(tree.root());
        for (const PackageView &package : view.packages())
            found.append(package.id);
        QCOMPARE(found, after);
    }

private:
    /// Adds the columns of the data table and returns a function that adds a row. "@NEW@" in the
    /// catalogue stands for the text `replaced` before the addition, and `added` after it. All
    /// texts have ' in the place of ".
    auto addingRows() const
    {
        return [this, rows = Rows<QByteArray, QByteArray>()](
                   const char *name, const QByteArray &catalogue, const QByteArray &added,
                   const QByteArray &replaced = QByteArray()) mutable {
            const auto with = [this, &catalogue](const QByteArray &text) {
                return m_archive.filledIn(QByteArray(catalogue).replace("@NEW@", text));
            };
            rows.row(name, with(replaced), with(added));
        };
    }

    Outcome run(Addition &addition) const
    {
        const Outcome outcome = addition.prepare();
        return outcome == Outcome::GOOD ? addition.carryOut(m_archive.look()) : outcome;
    }

    /// Carries out an addition and compares the result with `after`, and what clients read from it
    /// with the added version.
    void compare(const QByteArray &before, const QByteArray &after,
                 const AdditionOrder &order) const
    {
        Addition addition(before, order);
        QVERIFY2(run(addition) == Outcome::GOOD, qPrintable(addition.fault()));
        const QByteArray &result = addition.result();
        QCOMPARE(QString::fromUtf8(result), QString::fromUtf8(after));
        QCOMPARE(result, after);
        // An addition may remove an error, for example that a package has no versions.
        const int errors = checkCatalogue(before).count(Severity::ERROR);
        QVERIFY(checkCatalogue(result).count(Severity::ERROR) <= errors);
        const auto packages = Kavo::Models::parseCatalogue(result, "en"_s);
        QVERIFY(!packages.isEmpty());
        const auto found = std::find_if(packages.cbegin(), packages.cend(),
                                        [](const auto &package) { return package->id() == 5; });
        QVERIFY(found != packages.cend());
        const auto version = (*found)->findVersion("1.1"_s);
        QVERIFY(version);
        QCOMPARE(version->version, "1.1"_s);
        QCOMPARE(version->link, addition.version().link);
        QVERIFY(version->size == addition.version().size);
        QCOMPARE(version->sha256, addition.version().sha256);
        QCOMPARE(version->depends, addition.version().depends);
        QCOMPARE(version->log, addition.version().log);
        QCOMPARE(version->install->extract, addition.version().install->extract);
        QCOMPARE(version->install->preserve, addition.version().install->preserve);
        QCOMPARE(version->install->backup, addition.version().install->backup);
        QCOMPARE(version->uninstall->remove, addition.version().uninstall->remove);
    }

    const PublishedArchive m_archive{
        "piers-1.1.zip"_s, {{"Piers/64/lin.xpl"_s, "code"}, {"Piers/readme.txt"_s, "text"}}};
};

void AdditionStyleTest::versionLooksLikeItsNeighbours_data()
{
    auto row = addingRows();
    const QByteArray two = R"([
  {
    'id': 5,
    'name': { 'en': 'Piers' },
    'versions': [
@NEW@      {
        'version': '1.0',
        'link': 'https://a.example/piers-1.0.zip',
        'install': { 'extract': 'Resources/plugins' },
        'uninstall': { 'remove': ['Resources/plugins/Piers'] }
      }
    ]
  }
]
)";
    const QByteArray twoNew = R"(      {
        'version': '1.1',
        'link': 'https://a.example/piers-1.1.zip',
        'size': @SIZE@,
        'sha256': '@SHA@',
        'log': ['Lights \"b\"', 'Schöner\\'],
        'install': { 'extract': 'Resources/plugins' },
        'uninstall': { 'remove': ['Resources/plugins/Piers'] }
      },
)";
    const auto changed = [](QByteArray text, const char *before, const char *after) -> QByteArray {
        return text.replace(before, after);
    };
    row("two blanks", two, twoNew);
    row("four blanks", changed(two, "  ", "    "), changed(twoNew, "  ", "    "));
    row("tabs", changed(two, "  ", "\t"), changed(twoNew, "  ", "\t"));
    row("byte order mark", "\xef\xbb\xbf" + two, twoNew);
    row("line ends of Windows", changed(two, "\n", "\r\n"), changed(twoNew, "\n", "\r\n"));
    row("no line end at the end", two.trimmed(), twoNew);
    row("blanks around colons", changed(two, "': ", "' : "), changed(twoNew, "': ", "' : "));
    row("escapes", changed(two, "Piers' }", "St\\u00e4bchen' }"),
        changed(twoNew, "\xc3\xb6", "\\u00f6"));

    row("one line",
        "[{'id': 5, 'name': {'en': 'Piers'}, 'versions': [@NEW@{'version': '1.0', 'link': "
        "'https://a.example/piers-1.0.zip', 'install': {'extract': 'Resources/plugins'}, "
        "'uninstall': {'remove': ['Resources/plugins/Piers']}}]}]",
        "{'version': '1.1', 'link': 'https://a.example/piers-1.1.zip', 'size': @SIZE@, "
        "'sha256': '@SHA@', 'log': ['Lights \\\"b\\\"', 'Sch\xc3\xb6ner\\\\'], "
        "'install': {'extract': 'Resources/plugins'}, "
        "'uninstall': {'remove': ['Resources/plugins/Piers']}}, ");
    row("no blanks at all",
        "[{'id':5,'name':{'en':'Piers'},'versions':[@NEW@{'link':"
        "'https://a.example/piers-1.0.zip','version':'1.0','uninstall':{'remove':"
        "['Resources/plugins/Piers']},'install':{'preserve':[],'extract':"
        "'Resources/plugins'}}]}]",
        "{'link':'https://a.example/piers-1.1.zip','size':@SIZE@,'sha256':'@SHA@','log':"
        "['Lights \\\"b\\\"','Sch\xc3\xb6ner\\\\'],'version':'1.1','uninstall':{'remove':"
        "['Resources/plugins/Piers']},'install':{'preserve':[],'extract':"
        "'Resources/plugins'}},");
    row("brackets side by side", R"([{
  'id': 5,
  'name': { 'en': 'Piers' },
  'versions': [@NEW@{
    'version': '1.0',
    'link': 'https://a.example/piers-1.0.zip',
    'install': { 'extract': 'Resources/plugins' },
    'uninstall': {
      'remove': [
        'Resources/plugins/Piers'
      ]
    }
  }]
}]
)",
        R"({
    'version': '1.1',
    'link': 'https://a.example/piers-1.1.zip',
    'size': @SIZE@,
    'sha256': '@SHA@',
    'log': [
      'Lights \"b\"',
      'Schöner\\'
    ],
    'install': { 'extract': 'Resources/plugins' },
    'uninstall': {
      'remove': [
        'Resources/plugins/Piers'
      ]
    }
  }, )");
    row("a version a line, blank lines",
        "[\n{ 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [\n\n"
        "@NEW@  { 'version': '1.0', 'link': 'https://a.example/piers-1.0.zip', "
        "'install': { 'extract': 'Resources/plugins' }, "
        "'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } },\n\n"
        "  { 'version': '0.9', 'link': 'https://a.example/piers-0.9.zip', "
        "'install': { 'extract': 'Resources/plugins' }, "
        "'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } }\n\n] }\n]\n",
        "  { 'version': '1.1', 'link': 'https://a.example/piers-1.1.zip', "
        "'size': @SIZE@, 'sha256': '@SHA@', "
        "'log': [ 'Lights \\\"b\\\"', 'Sch\xc3\xb6ner\\\\' ], "
        "'install': { 'extract': 'Resources/plugins' }, "
        "'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } },\n\n");
    row("blank lines here and there",
        "[{ 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [\n"
        "{ 'version': '0.8', 'link': 'https://a.example/piers-0.8.zip', "
        "'install': { 'extract': 'Resources' } },\n"
        "{ 'version': '0.9', 'link': 'https://a.example/piers-0.9.zip', "
        "'install': { 'extract': 'Resources' } },\n\n"
        "{ 'version': '1.0', 'link': 'https://a.example/piers-1.0.zip', "
        "'install': { 'extract': 'Resources/plugins' } }@NEW@]}]",
        ",\n\n{ 'version': '1.1', 'link': 'https://a.example/piers-1.1.zip', "
        "'size': @SIZE@, 'sha256': '@SHA@', 'log': ['Lights \\\"b\\\"', 'Sch\xc3\xb6ner\\\\'], "
        "'install': { 'extract': 'Resources/plugins' }, "
        "'uninstall': { 'remove': ['Resources/plugins/Piers'] } }");
    row("lines, but no blanks", R"([
 {
  'id':5,
  'name':{'en':'Piers'},
  'versions':[
@NEW@   {
    'version':'1.0',
    'link':'https://a.example/piers-1.0.zip',
    'install':{'extract':'Resources/plugins'},
    'uninstall':{'remove':['Resources/plugins/Piers']}
   }
  ]
 }
])",
        R"(   {
    'version':'1.1',
    'link':'https://a.example/piers-1.1.zip',
    'size':@SIZE@,
    'sha256':'@SHA@',
    'log':['Lights \"b\"','Schöner\\'],
    'install':{'extract':'Resources/plugins'},
    'uninstall':{'remove':['Resources/plugins/Piers']}
   },
)");
    row("neighbours unlike all others",
        R"([
  {
    'id': 4,
    'name': { 'en': 'Other' },
    'versions': [
      {
        'version': '2',
        'link': 'https://a.example/other-2.zip',
        'uninstall': {
          'remove': ['Custom Scenery/Other']
        }
      },
      {
        'version': '1',
        'link': 'https://a.example/other-1.zip',
        'uninstall': {
          'remove': ['Custom Scenery/Other']
        }
      }
    ]
  },
  { 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [
@NEW@    {'version':'1.0','link':'https://a.example/piers-1.0.zip',)"
        "'install':{'extract':'Resources/plugins'},"
        "'uninstall':{'remove':['Resources/plugins/Piers']}}\n"
        "  ] }\n]",
        "    {'version':'1.1','link':'https://a.example/piers-1.1.zip','size':@SIZE@,"
        "'sha256':'@SHA@','log':['Lights \\\"b\\\"','Sch\xc3\xb6ner\\\\'],"
        "'install':{'extract':'Resources/plugins'},"
        "'uninstall':{'remove':['Resources/plugins/Piers']}},\n");

    const QByteArray bare = R"([
   {
      'id': 5,
      'name': { 'en': 'Piers' }@NEW@
   }
]
)";
    const QByteArray first = R"(
         {
            'version': '1.1',
            'link': 'https://b.example/piers-1.1.zip',
            'size': @SIZE@,
            'sha256': '@SHA@',
            'log': ['Lights \"b\"', 'Schöner\\'],
            'install': {
               'extract': 'Resources/plugins'
            },
            'uninstall': {
               'remove': ['Resources/plugins/Piers']
            }
         }
      )";
    const QByteArray empty = changed(bare, "@NEW@", ",\n      'versions': [@NEW@]");
    row("no versions", bare, ",\n      'versions': [" + first + ']');
    row("empty versions", empty, first);
    row("empty versions on lines", empty, first, "\n      ");
    row("empty versions among others",
        changed(empty, "@NEW@]", "@NEW@],\n      'help_url': 'https://a.example/'"), first, "  ");
}

void AdditionStyleTest::packageLooksLikeItsNeighbours_data()
{
    auto row = addingRows();
    const QByteArray whole = R"(
  {
    'id': 5,
    'name': { 'en': 'Piers' },
    'type': 'PLUGIN',
    'versions': [
      {
        'version': '1.1',
        'link': 'https://b.example/piers-1.1.zip',
        'size': @SIZE@,
        'sha256': '@SHA@',
        'install': {
          'extract': 'Resources/plugins'
        },
        'uninstall': {
          'remove': ['Resources/plugins/Piers']
        }
      }
    ]
  }
)";
    row("empty", "[@NEW@]\n", whole);
    row("empty, blank", " [@NEW@]", QByteArray(whole).replace("\n", "\n "), " ");
    row("empty on two lines", "[@NEW@]\n", whole, "\n");
    row("empty with line ends of Windows", "[@NEW@]\r\n", QByteArray(whole).replace("\n", "\r\n"),
        "\r\n");
    row("empty with a byte order mark", "\xef\xbb\xbf[@NEW@]", whole);
    row("no blanks at all",
        "[{'versions':[{'version':'3','link':'https://a.example/3','sha256':'','install':"
        "{'extract':'Custom Scenery','backup':[]},'uninstall':{'remove':['Custom Scenery/X']}}]"
        ",'type':'X','id':4,'name':{'en':'\xc3\x9c'}}@NEW@]",
        ",{'versions':[{'version':'1.1',"
        "'link':'https://b.example/piers-1.1.zip','size':@SIZE@,'sha256':'@SHA@','install':"
        "{'extract':'Resources/plugins','backup':[]},'uninstall':{'remove':"
        "['Resources/plugins/Piers']}}],'type':'PLUGIN','id':5,'name':{'en':'Piers'}}");
    row("names on lines", R"([
	{
		'id': 4,
		'name': {
			'en': 'Ü'
		},
		'description': {
			'en': 'Much'
		},
		'type': 'X',
		'versions': []
	}@NEW@
]
)",
        R"(,
	{
		'id': 5,
		'name': {
			'en': 'Piers'
		},
		'type': 'PLUGIN',
		'versions': [
			{
				'version': '1.1',
				'link': 'https://b.example/piers-1.1.zip',
				'size': @SIZE@,
				'sha256': '@SHA@',
				'install': {
					'extract': 'Resources/plugins'
				},
				'uninstall': {
					'remove': ['Resources/plugins/Piers']
				}
			}
		]
	})");
}

KAVO_TEST_MAIN(AdditionStyleTest)
#include "AdditionStyleTest.moc"

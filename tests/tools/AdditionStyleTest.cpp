#include "packages/catalogue/CatalogueParser.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/tools/PublishedArchive.h"
#include "tools/check/CatalogueCheck.h"

using namespace Kavo::Testing;
using namespace Kavo::Tools;

/// New entries have the style of the catalogue. Everything else stays the same, byte for byte.
class AdditionStyleTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QCOMPARE(m_archive.outcome(), ArchiveLook::Outcome::GOOD); }
    void versionLooksLikeItsNeighbours_data();

    void versionLooksLikeItsNeighbours()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.log = QStringList{R"(Lights "b")"_s, R"(Schöner\)"_s};
        if (!before.contains("1.0")) {
            order.extract = "Resources/plugins"_s;
            order.linkPrefix = "https://b.example/"_s;
        }
        Addition addition(before, order);
        QVERIFY2(addition.prepare() == Addition::Outcome::GOOD, qPrintable(addition.fault()));
        QVERIFY2(addition.carryOut(m_archive.look()) == Addition::Outcome::GOOD,
                 qPrintable(addition.fault()));
        compare(before, after, addition);
    }

    void packageLooksLikeItsNeighbours_data();

    void packageLooksLikeItsNeighbours()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.package.name = "Piers"_s;
        order.package.type = "PLUGIN"_s;
        order.extract = "Resources/plugins"_s;
        order.linkPrefix = "https://b.example"_s;
        Addition addition(before, order);
        QVERIFY2(addition.prepare() == Addition::Outcome::GOOD, qPrintable(addition.fault()));
        QVERIFY2(addition.carryOut(m_archive.look()) == Addition::Outcome::GOOD,
                 qPrintable(addition.fault()));
        compare(before, after, addition);
    }

    void versionsStayInTheirOrder_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QStringList>("after");

        const auto row = [](const char *name, const char *before, const char *after) {
            QTest::newRow(name) << QString::fromLatin1(before).split(QLatin1Char(' '))
                                << QString::fromLatin1(after).split(QLatin1Char(' '));
        };
        row("newest first", "1.0 0.9", "1.1 1.0 0.9");
        row("oldest first", "0.9 1.0", "0.9 1.0 1.1");
        row("a single one", "1.0", "1.1 1.0");
        row("a single newer one", "1.10", "1.10 1.1");
        row("between, newest first", "1.10 1.2 1.0 0.9", "1.10 1.2 1.1 1.0 0.9");
        row("between, oldest first", "0.9 1.0 1.2 1.10", "0.9 1.0 1.1 1.2 1.10");
        row("the oldest, newest first", "1.10 1.2", "1.10 1.2 1.1");
        row("the oldest, oldest first", "1.2 1.10", "1.1 1.2 1.10");
        row("no order", "1.0 1.10 0.9", "1.0 1.10 0.9 1.1");
    }

    void versionsStayInTheirOrder()
    {
        QFETCH(QStringList, before);
        QFETCH(QStringList, after);
        QByteArrayList versions;
        for (const QString &version : before)
            versions.append("{'version':'" + version.toLatin1() + "','link':'https://a.example/" +
                            version.toLatin1() +
                            ".zip','install':{'extract':'Resources/plugins'},'uninstall':{'remove':"
                            "['Resources/plugins/Piers']}}");
        const QByteArray catalogue =
            QByteArray("[{'id':5,'name':{'en':'Piers'},'type':'PLUGIN','versions':[" +
                       versions.join(", ") + "]}]")
                .replace('\'', '"');
        AdditionOrder order = orderFor(5, "1.1"_s);
        order.extract = "Resources/plugins"_s;
        Addition addition(catalogue, order);
        QCOMPARE(addition.prepare(), Addition::Outcome::GOOD);
        QVERIFY2(addition.carryOut(m_archive.look()) == Addition::Outcome::GOOD,
                 qPrintable(addition.fault()));
        const JsonTree tree(addition.result());
        QStringList found;
        const CatalogueView view(tree.root());
        for (const VersionView &version : view.packages().front().versions)
            found.append(version.version);
        QCOMPARE(found, after);
        // With one version there is no example of a separator.
        QCOMPARE(addition.result().count("}, {"), before.size() > 1 ? before.size() : 0);
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
        QCOMPARE(addition.prepare(), Addition::Outcome::GOOD);
        QVERIFY2(addition.carryOut(m_archive.look()) == Addition::Outcome::GOOD,
                 qPrintable(addition.fault()));
        const JsonTree tree(addition.result());
        QVector<int> found;
        const CatalogueView view(tree.root());
        for (const PackageView &package : view.packages())
            found.append(package.id);
        QCOMPARE(found, after);
    }

private:
    /// The texts have ' instead of ".
    void addRow(const char *name, const QByteArray &before, const QByteArray &after) const
    {
        QTest::newRow(name) << QByteArray(before).replace('\'', '"') << m_archive.filledIn(after);
    }

    static void compare(const QByteArray &before, const QByteArray &after, const Addition &addition)
    {
        const QByteArray &result = addition.result();
        QCOMPARE(QString::fromUtf8(result), QString::fromUtf8(after));
        QCOMPARE(result, after);
        // A package may have had no version before.
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
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const QByteArray two = R"([
  {
    'id': 5,
    'name': { 'en': 'Piers' },
    'versions': [
      {
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
        'log': ['Lights "b"', 'Schöner\\'],
        'install': { 'extract': 'Resources/plugins' },
        'uninstall': { 'remove': ['Resources/plugins/Piers'] }
      },
)";
    const auto with = [](QByteArray text, const QByteArray &added) -> QByteArray {
        return text.replace("'versions': [\n", "'versions': [\n" + added);
    };
    // A line of the log contains quotation marks.
    const QByteArray escaped = QByteArray(twoNew).replace(R"("b")", R"(\"b\")");
    addRow("two blanks", two, with(two, escaped));
    const QByteArray four = QByteArray(two).replace("  ", "    ");
    addRow("four blanks", four, with(four, QByteArray(escaped).replace("  ", "    ")));
    const QByteArray tabs = QByteArray(two).replace("  ", "\t");
    addRow("tabs", tabs, with(tabs, QByteArray(escaped).replace("  ", "\t")));
    const QByteArray mark("\xef\xbb\xbf");
    addRow("byte order mark", mark + two, mark + with(two, escaped));
    const QByteArray windows = with(two, escaped);
    addRow("line ends of Windows", QByteArray(two).replace("\n", "\r\n"),
           QByteArray(windows).replace("\n", "\r\n"));
    const QByteArray noEnd = two.trimmed();
    addRow("no line end at the end", noEnd, with(noEnd, escaped));
    const QByteArray wide = QByteArray(two).replace("': ", "' : ");
    addRow("blanks around colons", wide, with(two, escaped).replace("': ", "' : "));
    const QByteArray ascii = QByteArray(two).replace("Piers' }", "St\\u00e4bchen' }");
    addRow("escapes", ascii, with(ascii, QByteArray(escaped).replace("\xc3\xb6", "\\u00f6")));

    addRow("one line",
           "[{'id': 5, 'name': {'en': 'Piers'}, 'versions': [{'version': '1.0', 'link': "
           "'https://a.example/piers-1.0.zip', 'install': {'extract': 'Resources/plugins'}, "
           "'uninstall': {'remove': ['Resources/plugins/Piers']}}]}]",
           "[{'id': 5, 'name': {'en': 'Piers'}, 'versions': [{'version': '1.1', 'link': "
           "'https://a.example/piers-1.1.zip', 'size': @SIZE@, 'sha256': '@SHA@', 'log': "
           "['Lights \\\"b\\\"', 'Sch\xc3\xb6ner\\\\'], 'install': {'extract': "
           "'Resources/plugins'}, 'uninstall': {'remove': ['Resources/plugins/Piers']}}, "
           "{'version': '1.0', 'link': "
           "'https://a.example/piers-1.0.zip', 'install': {'extract': 'Resources/plugins'}, "
           "'uninstall': {'remove': ['Resources/plugins/Piers']}}]}]");
    addRow("no blanks at all",
           "[{'id':5,'name':{'en':'Piers'},'versions':[{'link':"
           "'https://a.example/piers-1.0.zip','version':'1.0','uninstall':{'remove':"
           "['Resources/plugins/Piers']},'install':{'preserve':[],'extract':"
           "'Resources/plugins'}}]}]",
           "[{'id':5,'name':{'en':'Piers'},'versions':[{'link':"
           "'https://a.example/piers-1.1.zip','size':@SIZE@,'sha256':'@SHA@','log':"
           "['Lights \\\"b\\\"','Sch\xc3\xb6ner\\\\'],'version':'1.1','uninstall':{'remove':"
           "['Resources/plugins/Piers']},'install':{'preserve':[],'extract':"
           "'Resources/plugins'}},{'link':"
           "'https://a.example/piers-1.0.zip','version':'1.0','uninstall':{'remove':"
           "['Resources/plugins/Piers']},'install':{'preserve':[],'extract':"
           "'Resources/plugins'}}]}]");
    addRow("brackets side by side", R"([{
  'id': 5,
  'name': { 'en': 'Piers' },
  'versions': [{
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
           R"([{
  'id': 5,
  'name': { 'en': 'Piers' },
  'versions': [{
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
  }, {
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
)");
    addRow("a version a line, blank lines", R"([
{ 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [

  { 'version': '1.0', 'link': 'https://a.example/piers-1.0.zip', 'install': { 'extract': 'Resources/plugins' }, 'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } },

  { 'version': '0.9', 'link': 'https://a.example/piers-0.9.zip', 'install': { 'extract': 'Resources/plugins' }, 'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } }

] }
]
)",
           R"([
{ 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [

  { 'version': '1.1', 'link': 'https://a.example/piers-1.1.zip', 'size': @SIZE@, 'sha256': '@SHA@', 'log': [ 'Lights \"b\"', 'Schöner\\' ], 'install': { 'extract': 'Resources/plugins' }, 'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } },

  { 'version': '1.0', 'link': 'https://a.example/piers-1.0.zip', 'install': { 'extract': 'Resources/plugins' }, 'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } },

  { 'version': '0.9', 'link': 'https://a.example/piers-0.9.zip', 'install': { 'extract': 'Resources/plugins' }, 'uninstall': { 'remove': [ 'Resources/plugins/Piers' ] } }

] }
]
)");
    addRow("blank lines here and there", R"([{ 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [
{ 'version': '0.8', 'link': 'https://a.example/piers-0.8.zip', 'install': { 'extract': 'Resources' } },
{ 'version': '0.9', 'link': 'https://a.example/piers-0.9.zip', 'install': { 'extract': 'Resources' } },

{ 'version': '1.0', 'link': 'https://a.example/piers-1.0.zip', 'install': { 'extract': 'Resources/plugins' } }]}])",
           R"([{ 'id': 5, 'name': { 'en': 'Piers' }, 'versions': [
{ 'version': '0.8', 'link': 'https://a.example/piers-0.8.zip', 'install': { 'extract': 'Resources' } },
{ 'version': '0.9', 'link': 'https://a.example/piers-0.9.zip', 'install': { 'extract': 'Resources' } },

{ 'version': '1.0', 'link': 'https://a.example/piers-1.0.zip', 'install': { 'extract': 'Resources/plugins' } },

{ 'version': '1.1', 'link': 'https://a.example/piers-1.1.zip', 'size': @SIZE@, 'sha256': '@SHA@', 'log': ['Lights \"b\"', 'Schöner\\'], 'install': { 'extract': 'Resources/plugins' }, 'uninstall': { 'remove': ['Resources/plugins/Piers'] } }]}])");
    addRow("lines, but no blanks", R"([
 {
  'id':5,
  'name':{'en':'Piers'},
  'versions':[
   {
    'version':'1.0',
    'link':'https://a.example/piers-1.0.zip',
    'install':{'extract':'Resources/plugins'},
    'uninstall':{'remove':['Resources/plugins/Piers']}
   }
  ]
 }
])",
           R"([
 {
  'id':5,
  'name':{'en':'Piers'},
  'versions':[
   {
    'version':'1.1',
    'link':'https://a.example/piers-1.1.zip',
    'size':@SIZE@,
    'sha256':'@SHA@',
    'log':['Lights \"b\"','Schöner\\'],
    'install':{'extract':'Resources/plugins'},
    'uninstall':{'remove':['Resources/plugins/Piers']}
   },
   {
    'version':'1.0',
    'link':'https://a.example/piers-1.0.zip',
    'install':{'extract':'Resources/plugins'},
    'uninstall':{'remove':['Resources/plugins/Piers']}
   }
  ]
 }
])");
    addRow("neighbours unlike all others", R"([
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
    {'version':'1.0','link':'https://a.example/piers-1.0.zip','install':{'extract':'Resources/plugins'},'uninstall':{'remove':['Resources/plugins/Piers']}}
  ] }
])",
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
    {'version':'1.1','link':'https://a.example/piers-1.1.zip','size':@SIZE@,'sha256':'@SHA@','log':['Lights \"b\"','Schöner\\'],'install':{'extract':'Resources/plugins'},'uninstall':{'remove':['Resources/plugins/Piers']}},
    {'version':'1.0','link':'https://a.example/piers-1.0.zip','install':{'extract':'Resources/plugins'},'uninstall':{'remove':['Resources/plugins/Piers']}}
  ] }
])");
    const QByteArray bare = R"([
   {
      'id': 5,
      'name': { 'en': 'Piers' }@VERSIONS@
   }
]
)";
    const QByteArray first = R"(,
      'versions': [@INSIDE@]@BEHIND@)";
    const QByteArray firstNew = R"(
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
    const auto filled = [&](const QByteArray &inside, const QByteArray &behind) -> QByteArray {
        QByteArray versions = first;
        versions.replace("@INSIDE@", inside).replace("@BEHIND@", behind);
        return QByteArray(bare).replace("@VERSIONS@", versions);
    };
    addRow("no versions", QByteArray(bare).replace("@VERSIONS@", ""), filled(firstNew, ""));
    addRow("empty versions", filled("", ""), filled(firstNew, ""));
    addRow("empty versions on lines", filled("\n      ", ""), filled(firstNew, ""));
    addRow("empty versions among others", filled("  ", ",\n      'help_url': 'https://a.example/'"),
           filled(firstNew, ",\n      'help_url': 'https://a.example/'"));
}

void AdditionStyleTest::packageLooksLikeItsNeighbours_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    const QByteArray whole = R"([
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
])";
    addRow("empty", "[]\n", whole + '\n');
    addRow("empty, blank", " [ ]", ' ' + QByteArray(whole).replace("\n", "\n "));
    addRow("empty on two lines", "[\n]\n", whole + '\n');
    addRow("empty with line ends of Windows", "[\r\n]\r\n",
           QByteArray(whole + '\n').replace("\n", "\r\n"));
    addRow("empty with a byte order mark", "\xef\xbb\xbf[]", "\xef\xbb\xbf" + whole);
    addRow("no blanks at all",
           "[{'versions':[{'version':'3','link':'https://a.example/3','sha256':'','install':"
           "{'extract':'Custom Scenery','backup':[]},'uninstall':{'remove':['Custom Scenery/X']}}]"
           ",'type':'X','id':4,'name':{'en':'\xc3\x9c'}}]",
           "[{'versions':[{'version':'3','link':'https://a.example/3','sha256':'','install':"
           "{'extract':'Custom Scenery','backup':[]},'uninstall':{'remove':['Custom Scenery/X']}}]"
           ",'type':'X','id':4,'name':{'en':'\xc3\x9c'}},{'versions':[{'version':'1.1',"
           "'link':'https://b.example/piers-1.1.zip','size':@SIZE@,'sha256':'@SHA@','install':"
           "{'extract':'Resources/plugins','backup':[]},'uninstall':{'remove':"
           "['Resources/plugins/Piers']}}],'type':'PLUGIN','id':5,'name':{'en':'Piers'}}]");
    addRow("names on lines", R"([
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
	}
]
)",
           R"([
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
	},
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
	}
]
)");
}

KAVO_TEST_MAIN(AdditionStyleTest)
#include "AdditionStyleTest.moc"

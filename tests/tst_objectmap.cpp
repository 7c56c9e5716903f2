// tst_objectmap.cpp: the object map: both directions, text form and file, symbolic name derivation.
#include "testsupport.h"

#include "diagnostics.h"
#include "objectmap.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

using Vexil::ObjectMap;
using Vexil::ObjectMapText;
using Vexil::ObjectName;

namespace {

QString readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                          : QStringLiteral("<unreadable>");
}

void addName(ObjectMap &map, const char *real, const char *symbolic)
{
    map.add(ObjectName(QString::fromUtf8(real)), QString::fromUtf8(symbolic));
}

// What symbolicName() must find: the first key in map order equal to the name or its old form.
QString walkForSymbolic(const ObjectMap &map, const QString &fixed)
{
    const ObjectName name(fixed);
    const ObjectName old(map.convertToOldName(fixed));
    const auto &reals = map.realNames();
    for (auto it = reals.cbegin(); it != reals.cend(); ++it) {
        if (it.key() == name || it.key() == old)
            return it.value();
    }
    return fixed;
}

} // namespace

TEST(ObjectMap, MostRecentMapIsCurrent)
{
    EXPECT_EQ(ObjectMap::self(), nullptr);
    {
        ObjectMap first(true);
        EXPECT_EQ(ObjectMap::self(), &first);
        EXPECT_TRUE(first.flag());
        EXPECT_FALSE(first.isModified());
        auto second = std::make_unique<ObjectMap>(false);
        ObjectMap third(false);
        second.reset(); // not current: leaves the pointer alone
        EXPECT_EQ(ObjectMap::self(), &third);
    }
    EXPECT_EQ(ObjectMap::self(), nullptr);
}

TEST(ObjectMap, BothDirections)
{
    ObjectMap map(false);
    addName(map, "{type='QDialog'}", ":Dialog");
    EXPECT_TRUE(map.isModified());
    EXPECT_EQ(map.realName(QStringLiteral(":Dialog")), QStringLiteral("{type='QDialog'}"));
    EXPECT_EQ(map.realName(QStringLiteral(":x")), QStringLiteral("x"));
    EXPECT_EQ(map.realName(QStringLiteral("Dialog")), QStringLiteral("Dialog"));
    EXPECT_FALSE(map.objectName(QStringLiteral(":")).isValid());
    addName(map, "{type='QDialog'}", ":Other");
    EXPECT_EQ(map.realNames().value(ObjectName(QStringLiteral("{type='QDialog'}"))),
              QStringLiteral(":Other"));
    EXPECT_EQ(map.symbolicNames().size(), 2);

    QMap<QString, ObjectName> names;
    names.insert(QStringLiteral(":z"), ObjectName(QStringLiteral("{type='B'}")));
    names.insert(QStringLiteral(":y"), ObjectName(QStringLiteral("{type='B'}")));
    map.setSymbolicNames(names);
    EXPECT_EQ(map.symbolicNames().keys(), QStringList({ ":y", ":z" }));
    ASSERT_EQ(map.realNames().size(), 1);
    EXPECT_EQ(map.realNames().first(), QStringLiteral(":z")); // last in key order wins

    // The ordered views, once handed out, follow later changes.
    const QMap<QString, ObjectName> &symbolic = map.symbolicNames();
    const QMap<ObjectName, QString> &real = map.realNames();
    addName(map, "{type='A'}", ":a");
    EXPECT_EQ(symbolic.keys(), QStringList({ ":a", ":y", ":z" }));
    EXPECT_EQ(real.firstKey().qualifiedName(), QStringLiteral("{type='A'}"));

    map.clear();
    EXPECT_TRUE(symbolic.isEmpty());
    EXPECT_TRUE(real.isEmpty());
    EXPECT_TRUE(map.isModified());
}

TEST(ObjectMap, TextForm)
{
    EXPECT_EQ(ObjectMap::escapeForSerialize(QStringLiteral("a\\b\nc\rd\te")),
              QStringLiteral("a\\\\b\\nc\\rd\\te"));
    EXPECT_EQ(ObjectMap::unescapeFromSerialize(QStringLiteral("a\\\\b\\nc\\rd\\te\\q\\")),
              QStringLiteral("a\\b\nc\rd\te\\q"));

    ObjectMap map(false);
    EXPECT_EQ(map.toString(), QString());
    addName(map, "{type='QPushButton'   text='Save'}", ":Save_QPushButton");
    addName(map, "main\\.window", ":A\tb\nc");
    EXPECT_EQ(map.toString(),
              QStringLiteral(":A\\tb\\nc\tmain\\\\.window\n"
                             ":Save_QPushButton\t{type='QPushButton'   text='Save'}\n"));

    const auto entries = map.parseSerializedMap(
        QStringLiteral("# comment\tx\n\nno tab here\n"
                       ":two\t{a='1'}\tand more\n#:hidden\tx\n:last\tend"));
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].first, QStringLiteral(":two"));
    EXPECT_EQ(entries[0].second.qualifiedName(), QStringLiteral("{a='1'}\tand more"));
    EXPECT_EQ(entries[1].first, QStringLiteral(":last"));
    EXPECT_EQ(entries[1].second.qualifiedName(), QStringLiteral("end"));

    // The same reading with line numbers, for reports on a map.
    const ObjectMapText lines = ObjectMap::readMapText(
        QStringLiteral("# comment\tx\n\nno tab here\n:two\t{a='1'}\tand more\n#:hidden\tx\n:bad\t{a=1}"));
    ASSERT_EQ(lines.entries.size(), 2u);
    EXPECT_EQ(lines.entries[0].line, 4);
    EXPECT_EQ(lines.entries[0].text, QStringLiteral(":two\t{a='1'}\tand more"));
    EXPECT_EQ(lines.entries[0].tab, 4);
    EXPECT_EQ(lines.entries[1].line, 6);
    EXPECT_EQ(lines.entries[1].symbolic, QStringLiteral(":bad"));
    EXPECT_FALSE(lines.entries[1].real.isValid());
    EXPECT_EQ(lines.entries[1].real.errorOffset(), 3);
    EXPECT_EQ(lines.comments, (std::vector<int> { 1, 5 }));
    EXPECT_EQ(lines.linesWithoutTab, std::vector<int> { 3 });

    // Older hierarchical escaping: a lone backslash before anything but ".", "[" or a backslash is doubled.
    const std::pair<const char *, const char *> oldNames[] = {
        { "a\\b", "a\\\\b" },          { "a\\.b", "a\\.b" },         { "a\\[1]", "a\\[1]" },
        { "a\\\\b", "a\\\\b" },        { "a\\\\\\b", "a\\\\\\\\b" }, { "a\\", "a\\" },
        { "{a='x\\y'}", "{a='x\\y'}" }
    };
    for (const auto &row : oldNames) {
        const QString line = ":s\t" + ObjectMap::escapeForSerialize(QString::fromLatin1(row.first));
        EXPECT_EQ(map.parseSerializedMap(line).at(0).second.qualifiedName(), QString::fromLatin1(row.second))
            << row.first;
    }
}

TEST(ObjectMap, LoadFromStringMergesWithoutMarkingModified)
{
    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":a\t{x='1'}\n:b\t{x='2'}\n"));
    map.loadFromString(QStringLiteral(":b\t{x='3'}\n:c\tplain\n:c\tplain2\n:bad\t{x=1}\n"));
    EXPECT_FALSE(map.isModified());
    EXPECT_EQ(map.symbolicNames().keys(), QStringList({ ":a", ":b", ":bad", ":c" }));
    EXPECT_EQ(map.realName(QStringLiteral(":b")), QStringLiteral("{x='3'}"));
    EXPECT_EQ(map.realName(QStringLiteral(":c")), QStringLiteral("plain2"));
    // Unparsable real names are kept as written.
    EXPECT_EQ(map.realName(QStringLiteral(":bad")), QStringLiteral("{x=1}"));
    EXPECT_FALSE(map.objectName(QStringLiteral(":bad")).isValid());
}

TEST(ObjectMap, Files)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("names.map"));
    const QString special = QString::fromUtf8(":Tab\tand\nnew \xe2\x82\xac");

    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{text='a\\\\b' type='QLabel'}")), special);
    addName(map, "main.w\\.x", ":Plain");
    ASSERT_TRUE(map.saveToFile(path));
    EXPECT_FALSE(map.isModified());
    const QString written = readFile(path);
    EXPECT_EQ(written, map.toString());

    ObjectMap loaded(false);
    addName(loaded, "x", ":Extra");
    ASSERT_TRUE(loaded.loadFromFile(path)); // replaces what was there
    EXPECT_FALSE(loaded.containsSymbolicName(QStringLiteral(":Extra")));
    EXPECT_EQ(loaded.toString(), written);
    EXPECT_EQ(loaded.realName(special), QStringLiteral("{text='a\\\\b' type='QLabel'}"));
    EXPECT_TRUE(loaded.isModified()); // loading neither sets nor clears the flag

    // Written by hand: byte order mark, CRLF line ends, a comment, a blank line, a line without a tab.
    ASSERT_TRUE(loaded.loadFromFile(QStringLiteral(VEXIL_TEST_DATA "/objectmap_sample.txt")));
    EXPECT_EQ(loaded.symbolicNames().keys(), QStringList({ ":Dialog_QDialog", ":Old", ":Tab\tName" }));
    EXPECT_EQ(loaded.realName(QStringLiteral(":Dialog_QDialog")),
              QString::fromUtf8("{type='QDialog' windowTitle='Sp\xc3\xa4ichern'}"));
    EXPECT_EQ(loaded.realName(QStringLiteral(":Old")), QStringLiteral("main\\\\window.a\\.b"));
    EXPECT_EQ(loaded.symbolFromMultiPropName(loaded.realName(QStringLiteral(":Tab\tName"))),
              QString::fromUtf8("Sp\xc3\xa4ichern.x_QLabel"));
}

TEST(ObjectMap, UnopenableFiles)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("missing/names.map"));

    ObjectMap map(false);
    {
        VexilTest::StderrCapture capture;
        EXPECT_TRUE(map.saveToFile(path)); // unmodified: nothing to write
        EXPECT_EQ(capture.text(), std::string());
    }
    EXPECT_FALSE(QFile::exists(path));

    addName(map, "x", ":x");
    for (const QString &target : { path, dir.path() }) {
        VexilTest::StderrCapture capture;
        EXPECT_FALSE(map.saveToFile(target));
        EXPECT_EQ(capture.text(), "ObjectMap::save() failed when opening '" + target.toStdString() + "'\n");
    }
    EXPECT_TRUE(map.isModified());

    // An installed handler gets the same text, without the line ending, instead of standard error.
    std::vector<std::pair<QString, bool>> seen;
    const Vexil::DiagnosticHandler previous = Vexil::setDiagnosticHandler(
        [&seen](const QString &text, bool endsLine) { seen.emplace_back(text, endsLine); });
    {
        VexilTest::StderrCapture capture;
        EXPECT_FALSE(map.saveToFile(path));
        EXPECT_EQ(capture.text(), std::string());
    }
    Vexil::setDiagnosticHandler(previous);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0].first, "ObjectMap::save() failed when opening '" + path + "'");
    EXPECT_TRUE(seen[0].second);

    ObjectMapText lines;
    QString error;
    EXPECT_FALSE(ObjectMap::readMapFile(path, &lines, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_FALSE(map.loadFromFile(path));
    EXPECT_FALSE(map.loadFromFile(dir.path())); // a directory
    EXPECT_TRUE(map.containsSymbolicName(QStringLiteral(":x")));
}

TEST(ObjectMap, SymbolFromIdentifyingProperties)
{
    ObjectMap map(false);
    addName(map, "{type='QDialog' windowTitle='Save'}", ":Dialog_QDialog");
    addName(map, "{name='unnamed' type='QLabel' text=''}", ":Nameless");
    addName(map, "{buddy=':Loop2' type='X'}", ":Loop1");
    addName(map, "{buddy=':Loop1' type='X'}", ":Loop2");

    const std::pair<const char *, const char *> rows[] = {
        { "{type='QPushButton' text='OK' window=':Dialog_QDialog'}", "Save.OK_QPushButton" },
        { "{type='a.b.Button' form='F' name='n'}", "F.n_Button" },
        { "{name='qt_viewport' objectName='o' basetype='B'}", "o_B" },
        { "{row='1' column='2' type='Cell'}", "1_2_Cell" },
        { "{row='1' toolTip='tip'}", "tip_" },
        // A reference ends the search even when it yields nothing; a window may be a nested name.
        { "{buddy=':Nameless' stringValue='S' type='L'}", "_L" },
        { "{window={caption='C' type='W'} text='T' type='L'}", "C.T_L" },
        // Circular references end instead of recursing forever.
        { "{buddy=':Loop1' type='Y'}", "_Y" },
        { "a.b", "_" },
    };
    for (const auto &row : rows)
        EXPECT_EQ(map.symbolFromMultiPropName(QString::fromLatin1(row.first)),
                  QString::fromLatin1(row.second));
}

TEST(ObjectMap, SymbolicNameFindsOrCreates)
{
    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":Dialog_QDialog\t{type='QDialog' windowTitle='Save'}\n"));
    const QString first = QStringLiteral(
        "{type='QPushButton' text='OK' window=':Dialog_QDialog' occurrence='1'}");
    const QString second = QStringLiteral(
        "{type='QPushButton' text='OK' window=':Dialog_QDialog' occurrence='2'}");
    EXPECT_EQ(map.symbolicName(first, false),
              QStringLiteral("{occurrence='1' text='OK' type='QPushButton' window=':Dialog_QDialog'}"));
    EXPECT_FALSE(map.isModified());
    EXPECT_EQ(map.symbolicName(first, true), QStringLiteral(":Save.OK_QPushButton"));
    EXPECT_TRUE(map.isModified());
    EXPECT_EQ(map.symbolicName(second, true), QStringLiteral(":Save.OK_QPushButton_2"));
    EXPECT_EQ(map.multiPropNameToSymbolic(second), QStringLiteral(":Save.OK_QPushButton_3"));
    EXPECT_EQ(map.realName(QStringLiteral(":Save.OK_QPushButton_2")),
              QStringLiteral("{occurrence='2' text='OK' type='QPushButton' window=':Dialog_QDialog'}"));

    // Found again whatever the spacing and order.
    EXPECT_EQ(map.symbolicName(QStringLiteral("{ window=':Dialog_QDialog' occurrence='2'  text='OK' "
                                              "type='QPushButton'}"),
                               true),
              QStringLiteral(":Save.OK_QPushButton_2"));
    EXPECT_EQ(map.symbolicName(QStringLiteral(":Given"), true), QStringLiteral(":Given"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("main.window"), true), QStringLiteral(":main.window"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("main.window"), false), QStringLiteral(":main.window"));

    // Format characters (right-to-left mark, zero-width joiner, a tag character beyond the basic plane) go.
    const QString real = QString::fromUtf8("{text='O\xe2\x80\x8fK\xe2\x80\x8d\xf3\xa0\x80\x81' type='T'}");
    EXPECT_EQ(map.symbolicName(real, true), QStringLiteral(":OK_T"));
    EXPECT_EQ(map.realName(QStringLiteral(":OK_T")), real);

    // A name stored in the older flat form is found as well.
    map.loadFromString(
        QStringLiteral(":Dlg\t{name='dlg' type='QDialog'}\n:OldButton\t"
                       "{text='Go' type='QPushButton' windowName='dlg' windowType='QDialog'}\n"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{type='QPushButton' text='Go' window=':Dlg'}"), true),
              QStringLiteral(":OldButton"));
}

TEST(ObjectMap, FixedAndPrintableNames)
{
    ObjectMap map(false);
    addName(map, "{type='QDialog' windowTitle='Save'}", ":Dialog");
    EXPECT_EQ(map.fixedName(QStringLiteral("main.window"), true), QStringLiteral("main.window"));
    EXPECT_EQ(map.fixedName(QStringLiteral("{}"), true), QStringLiteral("{}"));
    EXPECT_EQ(map.fixedName(QStringLiteral("{a=1}"), true), QStringLiteral("{a=1}"));
    EXPECT_EQ(map.fixedName(QStringLiteral("{w={windowTitle='Save' type='QDialog'} t~='it\\'s'}"), false),
              QStringLiteral("{t~='it\\'s' w=':Dialog'}"));
    EXPECT_EQ(map.fixedName(QStringLiteral("{w={type='Other'}}"), false),
              QStringLiteral("{w='{type=\\'Other\\'}'}"));
    EXPECT_FALSE(map.containsSymbolicName(QStringLiteral(":_Other")));
    EXPECT_EQ(map.fixedName(QStringLiteral("{w={type='Other'}}"), true), QStringLiteral("{w=':_Other'}"));
    EXPECT_TRUE(map.containsSymbolicName(QStringLiteral(":_Other")));

    addName(map, "{type='B' window=':Dialog'}", ":Button");
    const int size = map.symbolicNames().size();
    EXPECT_EQ(map.printableName(QStringLiteral("{window=':Dialog'  type='B'}")), QStringLiteral(":Button"));
    EXPECT_EQ(map.printableName(
                  QStringLiteral("{w={windowTitle='Save' type='QDialog'} a='x\\'y' b={c={d='e'}}}")),
              QStringLiteral("{a='x\\'y' b={c={d='e'}} w=:Dialog}"));
    EXPECT_EQ(map.printableName(QStringLiteral("plain")), QStringLiteral("plain"));
    EXPECT_EQ(map.printableName(QStringLiteral(":sym")), QStringLiteral(":sym"));
    EXPECT_EQ(map.symbolicNames().size(), size);
}

TEST(ObjectMap, ConvertToOldNameSpellsOutReferences)
{
    ObjectMap map(false);
    addName(map, "{name='dlg' type='QDialog' occurrence='2' caption='It\\'s'}", ":Dialog");
    addName(map, "{name='unnamed' type='QGroupBox' text='Box'}", ":Box");
    addName(map, "{text='Label' type='QLabel'}", ":Label");
    EXPECT_EQ(map.convertToOldName(QStringLiteral("{name='unnamed' type~='QLine.*' window=':Dialog' "
                                                  "container=':Box' buddy=':Label'}")),
              QStringLiteral(
                  "{buddyText='Label' containerLabel='Box' containerType='QGroupBox' type='QLine.*' "
                  "windowCaption='It\\'s' windowName='dlg' windowOccurrence='2' windowType='QDialog'}"));
    EXPECT_EQ(map.convertToOldName(QStringLiteral("{a='b\\\\c' window=':Unknown'}")),
              QStringLiteral("{a='b\\c'}"));
    EXPECT_EQ(map.convertToOldName(QStringLiteral("main.window")), QStringLiteral("main.window"));
    EXPECT_EQ(map.convertToOldName(QStringLiteral("{}")), QStringLiteral("{}"));
}

TEST(ObjectMap, HostileInputFailsCleanly)
{
    const QString deep = QStringLiteral("{a=").repeated(100000) + QStringLiteral("{}") + QString(100000, '}');
    ObjectMap map(false);
    EXPECT_EQ(map.printableName(deep), deep);
    EXPECT_EQ(map.fixedName(deep, true), deep);
    EXPECT_EQ(map.convertToOldName(deep), deep);
    EXPECT_EQ(map.symbolicName(deep, true), QStringLiteral(":_"));

    addName(map, "x", ":1_");
    // Arbitrary bytes load as whatever lines they contain.
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QFile file(dir.filePath(QStringLiteral("garbage.map")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    QRandomGenerator rng(1);
    QByteArray bytes(1 << 16, Qt::Uninitialized);
    for (char &c : bytes)
        c = char(rng.bounded(256));
    file.write(bytes);
    file.close();
    EXPECT_TRUE(map.loadFromFile(file.fileName()));
    EXPECT_FALSE(map.containsSymbolicName(QStringLiteral(":1_")));
}

// The index behind symbolicName() must give exactly what a walk over the map gives, including when
// several stored keys are equal to the name by properties but not by text, and after the map was copied.
TEST(ObjectMap, LookupByPropertiesTakesTheLastOfARepeatedKey)
{
    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":twice\t{text='1' type='0' text='2'}\n"));
    EXPECT_EQ(map.printableName(QStringLiteral("{type='0' text='2'}")), QStringLiteral(":twice"));
    EXPECT_NE(map.printableName(QStringLiteral("{type='0' text='1'}")), QStringLiteral(":twice"));
}

TEST(ObjectMap, LookupAgreesWithWalkOverMap)
{
    QRandomGenerator rng(4711);
    // Few keys and values, so that many stored names are equal by properties but spelled differently.
    // Values with an escape and nested windows as well; now and then a key given twice (the last one counts).
    const QStringList keys = { "type", "text", "window" };
    const QStringList ops = { "=", "~=", "?=" };
    const QStringList values = { "'0'", "'1'", "'a\\'b'", "{type='0'}" };
    auto randomName = [&]() {
        QStringList parts;
        for (const QString &key : keys) {
            if (rng.bounded(3) != 0)
                parts << key + ops.at(rng.bounded(rng.bounded(4) == 0 ? 3 : 1))
                        + values.at(rng.bounded(rng.bounded(4) == 0 ? (key == "window" ? 4 : 3) : 2));
        }
        std::shuffle(parts.begin(), parts.end(), rng);
        if (!parts.isEmpty() && rng.bounded(8) == 0)
            parts.prepend(parts.last().section(QLatin1Char('='), 0, 0) + "='1'");
        return "{" + parts.join(QString(rng.bounded(2) ? "  " : " ")) + "}";
    };

    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":W\t{name='1' type='0'}\n"));
    for (int i = 0; i < 300; ++i) {
        const int how = rng.bounded(3);
        const QString name = randomName();
        // A copy of the map shares its nodes until the next insert detaches it.
        const QMap<ObjectName, QString> copy = map.realNames();
        if (how == 0)
            map.add(ObjectName(name), QStringLiteral(":e%1").arg(i));
        else if (how == 1)
            map.loadFromString(QStringLiteral(":l%1\t%2\n").arg(QString::number(i), name));
        else
            map.add(ObjectName(Vexil::parseNameByProperties(name)), QStringLiteral(":p%1").arg(i));
        if (i % 40 == 0) // rebuilt index as well as incrementally maintained
            map.setSymbolicNames(QMap<QString, ObjectName>(map.symbolicNames()));

        for (int probe = 0; probe < 3; ++probe) {
            const QString name = randomName();
            const QString fixed = map.fixedName(name, false);
            const QString expected = walkForSymbolic(map, fixed);
            ASSERT_EQ(map.symbolicName(name, false), expected) << name.toStdString();
            // A name not in the map reads differently in its printable form when it nests a name.
            if (expected.startsWith(QLatin1Char(':')) || !name.contains(QStringLiteral("={"))) {
                ASSERT_EQ(map.printableName(name), expected) << name.toStdString();
            }
        }
    }
    map.clear();
    EXPECT_EQ(map.printableName(QStringLiteral("{ type='0' }")), QStringLiteral("{type='0'}"));
}

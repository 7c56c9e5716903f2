// tst_objectmap.cpp: the object map: both directions, text form and file, symbolic name derivation.
#include "testsupport.h"

#include "objectmap.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>

using Vexil::ObjectMap;
using Vexil::ObjectName;
using Vexil::PropertyValue;

namespace {

QString readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("<unreadable>");
    return QString::fromUtf8(file.readAll());
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
        {
            auto second = std::make_unique<ObjectMap>(false);
            EXPECT_EQ(ObjectMap::self(), second.get());
            ObjectMap third(false);
            second.reset();     // not current: leaves the pointer alone
            EXPECT_EQ(ObjectMap::self(), &third);
        }
        EXPECT_EQ(ObjectMap::self(), nullptr);
    }
    EXPECT_EQ(ObjectMap::self(), nullptr);
}

TEST(ObjectMap, ObjectNameResolvesSymbolicNames)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{type='QDialog'}")), QStringLiteral(":Dialog"));
    EXPECT_EQ(map.realName(QStringLiteral(":Dialog")), QStringLiteral("{type='QDialog'}"));
    EXPECT_EQ(map.realName(QStringLiteral(":x")), QStringLiteral("x"));
    EXPECT_EQ(map.realName(QStringLiteral("Dialog")), QStringLiteral("Dialog"));
    EXPECT_FALSE(map.objectName(QStringLiteral(":")).isValid());
}

TEST(ObjectMap, AddAndSetSymbolicNamesKeepBothDirections)
{
    ObjectMap map(false);
    const ObjectName real(QStringLiteral("{type='A'}"));
    map.add(real, QStringLiteral(":a"));
    EXPECT_TRUE(map.isModified());
    map.add(real, QStringLiteral(":b"));
    EXPECT_EQ(map.realNames().value(real), QStringLiteral(":b"));
    EXPECT_EQ(map.symbolicNames().size(), 2);

    QMap<QString, ObjectName> names;
    names.insert(QStringLiteral(":z"), ObjectName(QStringLiteral("{type='B'}")));
    names.insert(QStringLiteral(":y"), ObjectName(QStringLiteral("{type='B'}")));
    map.setSymbolicNames(names);
    EXPECT_EQ(map.symbolicNames().keys(), QStringList({":y", ":z"}));
    ASSERT_EQ(map.realNames().size(), 1);
    EXPECT_EQ(map.realNames().first(), QStringLiteral(":z"));   // last in key order wins

    map.clear();
    EXPECT_TRUE(map.symbolicNames().isEmpty());
    EXPECT_TRUE(map.realNames().isEmpty());
    EXPECT_TRUE(map.isModified());
}

TEST(ObjectMap, ToStringWritesOneSortedEscapedLinePerSymbolicName)
{
    EXPECT_EQ(ObjectMap::escapeForSerialize(QStringLiteral("a\\b\nc\rd\te")), QStringLiteral("a\\\\b\\nc\\rd\\te"));
    EXPECT_EQ(ObjectMap::unescapeFromSerialize(QStringLiteral("a\\\\b\\nc\\rd\\te\\q\\")),
              QStringLiteral("a\\b\nc\rd\te\\q"));

    ObjectMap map(false);
    EXPECT_EQ(map.toString(), QString());
    map.add(ObjectName(QStringLiteral("{type='QPushButton'   text='Save'}")), QStringLiteral(":Save_QPushButton"));
    map.add(ObjectName(QStringLiteral("main\\.window")), QStringLiteral(":A\tb\nc"));
    EXPECT_EQ(map.toString(), QStringLiteral(":A\\tb\\nc\tmain\\\\.window\n"
                                             ":Save_QPushButton\t{type='QPushButton'   text='Save'}\n"));
}

TEST(ObjectMap, ParseSerializedMapSkipsCommentsAndLinesWithoutTab)
{
    const ObjectMap map(false);
    const auto entries = map.parseSerializedMap(QStringLiteral("# comment\tx\n"
                                                               "\n"
                                                               "no tab here\n"
                                                               ":two\t{a='1'}\tand more\n"
                                                               "#:hidden\tx\n"
                                                               ":last\tend"));
    ASSERT_EQ(entries.size(), 2u);
    EXPECT_EQ(entries[0].first, QStringLiteral(":two"));
    EXPECT_EQ(entries[0].second.qualifiedName(), QStringLiteral("{a='1'}\tand more"));
    EXPECT_EQ(entries[1].first, QStringLiteral(":last"));
    EXPECT_EQ(entries[1].second.qualifiedName(), QStringLiteral("end"));

    // Older hierarchical escaping: a lone backslash before anything but ".", "[" or a backslash is doubled.
    const std::pair<const char *, const char *> oldNames[] = {
        {"a\\b", "a\\\\b"},   {"a\\.b", "a\\.b"}, {"a\\[1]", "a\\[1]"},  {"a\\\\b", "a\\\\b"},
        {"a\\\\\\b", "a\\\\\\\\b"}, {"a\\", "a\\"},   {"{a='x\\y'}", "{a='x\\y'}"}};
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
    map.loadFromString(QStringLiteral(":b\t{x='3'}\n:c\tplain\n:c\tplain2\n"));
    EXPECT_FALSE(map.isModified());
    EXPECT_EQ(map.symbolicNames().keys(), QStringList({":a", ":b", ":c"}));
    EXPECT_EQ(map.realName(QStringLiteral(":b")), QStringLiteral("{x='3'}"));
    EXPECT_EQ(map.realName(QStringLiteral(":c")), QStringLiteral("plain2"));

    // Unparsable real names are kept as written.
    map.loadFromString(QStringLiteral(":bad\t{x=1}\n"));
    EXPECT_EQ(map.realName(QStringLiteral(":bad")), QStringLiteral("{x=1}"));
    EXPECT_FALSE(map.objectName(QStringLiteral(":bad")).isValid());
}

TEST(ObjectMap, FileRoundTripKeepsSpecialCharacters)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("names.map"));

    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{text='a\\\\b' type='QLabel'}")), QString::fromUtf8(":Tab\tand\nnew \xe2\x82\xac"));
    map.add(ObjectName(QStringLiteral("main.w\\.x")), QStringLiteral(":Plain"));
    ASSERT_TRUE(map.saveToFile(path));
    EXPECT_FALSE(map.isModified());
    const QString written = readFile(path);
    EXPECT_EQ(written, map.toString());

    ObjectMap loaded(false);
    ASSERT_TRUE(loaded.loadFromFile(path));
    EXPECT_EQ(loaded.toString(), written);
    EXPECT_EQ(loaded.realName(QString::fromUtf8(":Tab\tand\nnew \xe2\x82\xac")),
              QStringLiteral("{text='a\\\\b' type='QLabel'}"));
    EXPECT_FALSE(loaded.isModified());

    // Loading replaces what was there.
    loaded.add(ObjectName(QStringLiteral("x")), QStringLiteral(":Extra"));
    ASSERT_TRUE(loaded.loadFromFile(path));
    EXPECT_FALSE(loaded.containsSymbolicName(QStringLiteral(":Extra")));
}

TEST(ObjectMap, LoadsHandWrittenFile)
{
    ObjectMap map(false);
    ASSERT_TRUE(map.loadFromFile(QStringLiteral(VEXIL_TEST_DATA "/objectmap_sample.txt")));
    EXPECT_EQ(map.symbolicNames().keys(), QStringList({":Dialog_QDialog", ":Old", ":Tab\tName"}));
    EXPECT_EQ(map.realName(QStringLiteral(":Dialog_QDialog")),
              QString::fromUtf8("{type='QDialog' windowTitle='Sp\xc3\xa4ichern'}"));
    EXPECT_EQ(map.realName(QStringLiteral(":Old")), QStringLiteral("main\\\\window.a\\.b"));
    EXPECT_EQ(map.symbolFromMultiPropName(map.realName(QStringLiteral(":Tab\tName"))),
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
        EXPECT_TRUE(map.saveToFile(path));   // unmodified: nothing to write
        EXPECT_EQ(capture.text(), std::string());
    }
    EXPECT_FALSE(QFile::exists(path));

    map.add(ObjectName(QStringLiteral("x")), QStringLiteral(":x"));
    {
        VexilTest::StderrCapture capture;
        EXPECT_FALSE(map.saveToFile(path));
        EXPECT_EQ(capture.text(), "ObjectMap::save() failed when opening '" + path.toStdString() + "'\n");
    }
    EXPECT_TRUE(map.isModified());

    EXPECT_FALSE(map.loadFromFile(path));
    EXPECT_FALSE(map.loadFromFile(dir.path()));     // a directory
    EXPECT_TRUE(map.containsSymbolicName(QStringLiteral(":x")));

    // A directory in the way is an unopenable file too; a later save replaces an existing file whole.
    const QString existing = dir.filePath(QStringLiteral("names.map"));
    {
        QFile file(existing);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("old\tcontent\n");
    }
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("blocker.map")));
    {
        VexilTest::StderrCapture capture;
        EXPECT_FALSE(map.saveToFile(dir.filePath(QStringLiteral("blocker.map"))));
        EXPECT_EQ(capture.text(), "ObjectMap::save() failed when opening '" + dir.filePath("blocker.map").toStdString()
                                      + "'\n");
    }
    EXPECT_EQ(readFile(existing), QStringLiteral("old\tcontent\n"));
    ASSERT_TRUE(map.saveToFile(existing));
    EXPECT_EQ(readFile(existing), QStringLiteral(":x\tx\n"));
}

TEST(ObjectMap, SymbolFromIdentifyingProperties)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{type='QDialog' windowTitle='Save'}")), QStringLiteral(":Dialog_QDialog"));
    map.add(ObjectName(QStringLiteral("{name='unnamed' type='QLabel' text=''}")), QStringLiteral(":Nameless"));
    map.add(ObjectName(QStringLiteral("{buddy=':Loop2' type='X'}")), QStringLiteral(":Loop1"));
    map.add(ObjectName(QStringLiteral("{buddy=':Loop1' type='X'}")), QStringLiteral(":Loop2"));

    EXPECT_EQ(map.symbolFromMultiPropName(
                  QStringLiteral("{type='QPushButton' text='OK' window=':Dialog_QDialog'}")),
              QStringLiteral("Save.OK_QPushButton"));
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{type='a.b.Button' form='F' name='n'}")),
              QStringLiteral("F.n_Button"));
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{name='qt_viewport' objectName='o' basetype='B'}")),
              QStringLiteral("o_B"));
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{row='1' column='2' type='Cell'}")),
              QStringLiteral("1_2_Cell"));
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{row='1' toolTip='tip'}")), QStringLiteral("tip_"));
    // A reference ends the search even when it yields nothing, and the window comes from a nested name.
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{buddy=':Nameless' stringValue='S' type='L'}")),
              QStringLiteral("_L"));
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{window={caption='C' type='W'} text='T' type='L'}")),
              QStringLiteral("C.T_L"));
    // Circular references end instead of recursing forever.
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("{buddy=':Loop1' type='Y'}")), QStringLiteral("_Y"));
    EXPECT_EQ(map.symbolFromMultiPropName(QStringLiteral("a.b")), QStringLiteral("_"));
}

TEST(ObjectMap, SymbolicNameCreatesUniqueNames)
{
    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":Dialog_QDialog\t{type='QDialog' windowTitle='Save'}\n"));
    EXPECT_FALSE(map.isModified());

    const QString first = QStringLiteral("{type='QPushButton' text='OK' window=':Dialog_QDialog' occurrence='1'}");
    const QString second = QStringLiteral("{type='QPushButton' text='OK' window=':Dialog_QDialog' occurrence='2'}");
    EXPECT_EQ(map.symbolicName(first, false), QStringLiteral("{occurrence='1' text='OK' type='QPushButton' "
                                                             "window=':Dialog_QDialog'}"));
    EXPECT_FALSE(map.isModified());
    EXPECT_EQ(map.symbolicName(first, true), QStringLiteral(":Save.OK_QPushButton"));
    EXPECT_TRUE(map.isModified());
    EXPECT_EQ(map.symbolicName(second, true), QStringLiteral(":Save.OK_QPushButton_2"));
    EXPECT_EQ(map.multiPropNameToSymbolic(second), QStringLiteral(":Save.OK_QPushButton_3"));
    EXPECT_EQ(map.realName(QStringLiteral(":Save.OK_QPushButton_2")),
              QStringLiteral("{occurrence='2' text='OK' type='QPushButton' window=':Dialog_QDialog'}"));

    // Found again whatever the spacing and order.
    EXPECT_EQ(map.symbolicName(QStringLiteral("{ window=':Dialog_QDialog' occurrence='2'  text='OK' "
                                              "type='QPushButton'}"), true),
              QStringLiteral(":Save.OK_QPushButton_2"));
    EXPECT_EQ(map.symbolicName(QStringLiteral(":Given"), true), QStringLiteral(":Given"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("main.window"), true), QStringLiteral(":main.window"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("main.window"), false), QStringLiteral(":main.window"));
}

TEST(ObjectMap, SymbolicNameDropsFormatCharacters)
{
    ObjectMap map(false);
    // Right-to-left mark, zero-width joiner and a tag character outside the basic plane.
    const QString text = QString::fromUtf8("O\xe2\x80\x8fK\xe2\x80\x8d\xf3\xa0\x80\x81");
    const QString symbolic = map.symbolicName(QStringLiteral("{text='%1' type='T'}").arg(text), true);
    EXPECT_EQ(symbolic, QStringLiteral(":OK_T"));
    EXPECT_EQ(map.realName(symbolic), QStringLiteral("{text='%1' type='T'}").arg(text));
}

TEST(ObjectMap, FixedNameRefersToNestedObjectsSymbolically)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{type='QDialog' windowTitle='Save'}")), QStringLiteral(":Dialog"));
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
}

TEST(ObjectMap, PrintableNameNeverCreates)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{type='QDialog'}")), QStringLiteral(":Dialog"));
    map.add(ObjectName(QStringLiteral("{type='B' window=':Dialog'}")), QStringLiteral(":Button"));
    EXPECT_EQ(map.printableName(QStringLiteral("{window=':Dialog'  type='B'}")), QStringLiteral(":Button"));
    EXPECT_EQ(map.printableName(QStringLiteral("{w={type='QDialog'} a='x\\'y' b={c={d='e'}}}")),
              QStringLiteral("{a='x\\'y' b={c={d='e'}} w=:Dialog}"));
    EXPECT_EQ(map.printableName(QStringLiteral("plain")), QStringLiteral("plain"));
    EXPECT_EQ(map.printableName(QStringLiteral(":sym")), QStringLiteral(":sym"));
    EXPECT_EQ(map.symbolicNames().size(), 2);
}

TEST(ObjectMap, ConvertToOldNameSpellsOutReferences)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{name='dlg' type='QDialog' occurrence='2' caption='It\\'s'}")),
            QStringLiteral(":Dialog"));
    map.add(ObjectName(QStringLiteral("{name='unnamed' type='QGroupBox' text='Box'}")), QStringLiteral(":Box"));
    map.add(ObjectName(QStringLiteral("{text='Label' type='QLabel'}")), QStringLiteral(":Label"));

    EXPECT_EQ(map.convertToOldName(QStringLiteral("{name='unnamed' type~='QLine.*' window=':Dialog' "
                                                  "container=':Box' buddy=':Label'}")),
              QStringLiteral("{buddyText='Label' containerLabel='Box' containerType='QGroupBox' type='QLine.*' "
                             "windowCaption='It\\'s' windowName='dlg' windowOccurrence='2' windowType='QDialog'}"));
    EXPECT_EQ(map.convertToOldName(QStringLiteral("{a='b\\\\c' window=':Unknown'}")), QStringLiteral("{a='b\\c'}"));
    EXPECT_EQ(map.convertToOldName(QStringLiteral("main.window")), QStringLiteral("main.window"));
    EXPECT_EQ(map.convertToOldName(QStringLiteral("{}")), QStringLiteral("{}"));
}

TEST(ObjectMap, SymbolicNameFindsNamesStoredInOldForm)
{
    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":Dialog\t{name='dlg' type='QDialog'}\n"
                                      ":OldButton\t{text='OK' type='QPushButton' windowName='dlg' "
                                      "windowType='QDialog'}\n"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{type='QPushButton' text='OK' window=':Dialog'}"), true),
              QStringLiteral(":OldButton"));
    EXPECT_FALSE(map.isModified());
}

TEST(ObjectMap, IndexSurvivesCopiesOfTheMap)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{a='1' b='2'}")), QStringLiteral(":one"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{b='2' a='1'}"), false), QStringLiteral(":one"));
    {
        // A copy shares the nodes until the next insert detaches the map.
        const QMap<ObjectName, QString> copy = map.realNames();
        map.add(ObjectName(QStringLiteral("{a='3'}")), QStringLiteral(":three"));
        EXPECT_EQ(copy.size(), 1);
    }
    EXPECT_EQ(map.symbolicName(QStringLiteral("{ b='2'  a='1' }"), false), QStringLiteral(":one"));
    EXPECT_EQ(map.printableName(QStringLiteral("{ a='3' }")), QStringLiteral(":three"));
    map.clear();
    EXPECT_EQ(map.printableName(QStringLiteral("{ a='3' }")), QStringLiteral("{a='3'}"));
}

TEST(ObjectMap, HostileInputFailsCleanly)
{
    QString deep;
    for (int i = 0; i < 100000; ++i)
        deep += QStringLiteral("{a=");
    deep += QStringLiteral("{}") + QString(100000, QLatin1Char('}'));

    ObjectMap map(false);
    EXPECT_EQ(map.printableName(deep), deep);
    EXPECT_EQ(map.fixedName(deep, true), deep);
    EXPECT_EQ(map.convertToOldName(deep), deep);
    EXPECT_EQ(map.symbolicName(deep, true), QStringLiteral(":_"));
    EXPECT_FALSE(map.objectName(QStringLiteral(":_")).isValid());

    // As deep as a name may go, every nested level referred to by its own symbolic name.
    QString allowed;
    for (int i = 1; i < Vexil::MaxObjectNameNesting; ++i)
        allowed += QStringLiteral("{text='%1' w=").arg(i);
    allowed += QStringLiteral("{}") + QString(Vexil::MaxObjectNameNesting - 1, QLatin1Char('}'));
    EXPECT_EQ(map.symbolicName(allowed, true), QStringLiteral(":1_"));
    EXPECT_EQ(map.realName(QStringLiteral(":1_")), QStringLiteral("{text='1' w=':2_'}"));
    EXPECT_EQ(map.realName(QStringLiteral(":255_")), QStringLiteral("{text='255' w=':__2'}"));
    const QString printable = map.printableName(allowed);
    EXPECT_TRUE(printable.startsWith(QStringLiteral("{text='1' w={text='2' w={"))) << printable.left(80).toStdString();
    EXPECT_TRUE(printable.contains(QStringLiteral("{text='255' w=:__2}")));

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
// several stored keys are equal to the name by properties but not by text.
TEST(ObjectMap, LookupAgreesWithWalkOverMap)
{
    QRandomGenerator rng(4711);
    // Few keys and values, so that many stored names are equal by properties but spelled differently.
    const QStringList keys = {"type", "text", "window"};
    const QStringList ops = {"=", "~=", "?="};
    auto randomName = [&]() {
        QStringList parts;
        for (const QString &key : keys) {
            if (rng.bounded(3) == 0)
                continue;
            parts << key + ops.at(rng.bounded(rng.bounded(4) == 0 ? 3 : 1)) + "'" + QString::number(rng.bounded(2))
                         + "'";
        }
        std::shuffle(parts.begin(), parts.end(), rng);
        return "{" + parts.join(QString(rng.bounded(2) ? "  " : " ")) + "}";
    };

    ObjectMap map(false);
    map.loadFromString(QStringLiteral(":W\t{name='1' type='0'}\n"));
    for (int i = 0; i < 300; ++i) {
        const int how = rng.bounded(3);
        const QString name = randomName();
        if (how == 0)
            map.add(ObjectName(name), QStringLiteral(":e%1").arg(i));
        else if (how == 1)
            map.loadFromString(QStringLiteral(":l%1\t%2\n").arg(QString::number(i), name));
        else
            map.add(ObjectName(Vexil::parseNameByProperties(name)), QStringLiteral(":p%1").arg(i));

        if (i % 20 == 0) {     // rebuilt index as well as incrementally maintained
            QMap<QString, ObjectName> copy = map.symbolicNames();
            if (i % 40 == 0)
                map.setSymbolicNames(copy);
        }
        for (int probe = 0; probe < 3; ++probe) {
            const QString name = randomName();
            const QString fixed = map.fixedName(name, false);
            ASSERT_EQ(map.symbolicName(name, false), walkForSymbolic(map, fixed)) << name.toStdString();
            ASSERT_EQ(map.printableName(name), walkForSymbolic(map, fixed)) << name.toStdString();
        }
    }
}

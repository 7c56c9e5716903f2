// tst_objectname.cpp: multi-property name parsing and printing, PropertyValue matching, ObjectName.
#include "testsupport.h"

#include "objectmap.h"

using Vexil::ObjectMap;
using Vexil::ObjectName;
using Vexil::PropertyValue;
using Props = QMap<QString, PropertyValue>;

namespace {

QString parseError(const QString &name)
{
    QString error;
    EXPECT_TRUE(Vexil::parseNameByProperties(name, &error).isEmpty()) << name.toStdString();
    return error;
}

QString nestedName(int levels)
{
    return QStringLiteral("{a=").repeated(levels - 1) + QStringLiteral("{}")
        + QString(levels - 1, QLatin1Char('}'));
}

PropertyValue plain(const QString &value, PropertyValue::Modifiers op = PropertyValue::Equals)
{
    return PropertyValue(value, op, PropertyValue::PlainText);
}

} // namespace

TEST(ParseNameByProperties, AcceptedSyntaxAndPrintedForm)
{
    QString error;
    EXPECT_TRUE(Vexil::parseNameByProperties(QStringLiteral("{}"), &error).isEmpty());
    EXPECT_TRUE(error.isEmpty());

    Props p = Vexil::parseNameByProperties(QStringLiteral("  {a = '1'\tna me~='x.*' c ?= '*'}  "), &error);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();
    ASSERT_EQ(p.size(), 3);
    EXPECT_EQ(p.value("a").value(), QStringLiteral("1"));
    EXPECT_EQ(p.value("name").modifiers(), PropertyValue::RegularExpression);
    EXPECT_EQ(p.value("c").modifiers(), PropertyValue::Wildcard);
    EXPECT_EQ(p.value("c").type(), PropertyValue::PlainText);

    p = Vexil::parseNameByProperties(QStringLiteral("{a='1' a='2'}"));
    ASSERT_EQ(p.size(), 1);
    EXPECT_EQ(p.value("a").value(), QStringLiteral("2"));
    // No blank needed between entries; quotes and braces are ordinary key characters.
    EXPECT_EQ(Vexil::parseNameByProperties(QStringLiteral("{a='1'b='2' 'k{='3'}")).keys(),
              QStringList({ "'k{", "a", "b" }));

    // Escaping backslashes are removed and doubled again when printed.
    const QString escaped = QStringLiteral("{a='it\\'s' b='c:\\\\\\\\d'}");
    p = Vexil::parseNameByProperties(escaped);
    EXPECT_EQ(p.value("a").value(), QStringLiteral("it's"));
    EXPECT_EQ(p.value("b").value(), QStringLiteral("c:\\\\d"));
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p), escaped);

    // Nested names are kept verbatim and printed unquoted.
    p = Vexil::parseNameByProperties(QStringLiteral("{w={type='X'  name='y}'} v~={z='1'} type='Y'}"));
    ASSERT_EQ(p.size(), 3);
    EXPECT_EQ(p.value("w").type(), PropertyValue::NestedName);
    EXPECT_EQ(p.value("w").value(), QStringLiteral("{type='X'  name='y}'}"));
    EXPECT_EQ(p.value("v").modifiers(), PropertyValue::RegularExpression);
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p),
              QStringLiteral("{type='Y' v~={z='1'} w={type='X'  name='y}'}}"));

    p.clear();
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p), QStringLiteral("{}"));
    p.insert("type", plain("QLabel"));
    p.insert("text", plain("It's"));
    p.insert("w", PropertyValue("{a='1'}", PropertyValue::Wildcard, PropertyValue::NestedName));
    p.insert("x", plain("v", PropertyValue::Modifiers(7))); // unknown operator prints as nothing
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p),
              QStringLiteral("{text='It\\'s' type='QLabel' w?={a='1'} x'v'}"));
}

TEST(ParseNameByProperties, ErrorMessages)
{
    const std::pair<QString, QString> rows[] = {
        { "{a=1}",
          "Parse error while parsing '{a=1}': at column 4: expected either ' or { or whitespace, got 1\n" },
        { "{a~'x'}", "Parse error while parsing '{a~'x'}': at column 4: expected =, got '\n" },
        { QString::fromUtf8("{a=\xc3\xa9}"),
          QString::fromUtf8("Parse error while parsing '{a=\xc3\xa9}': at column 4: "
                            "expected either ' or { or whitespace, got \xc3\xa9\n") },
        // A character outside Latin-1 is shown as NUL.
        { QString::fromUtf8("{a=\xe4\xb8\xad}"),
          QString::fromUtf8(
              "Parse error while parsing '{a=\xe4\xb8\xad}': at column 4: expected either ' or { or "
              "whitespace, got ")
              + QChar(0) + QStringLiteral("\n") },
        { "{a={b=2}}",
          "Parse error while parsing '{a={b=2}}': at column 7: expected either ' or { or whitespace, got "
          "2\n" },
        // The braces of the trimmed text are checked before anything else.
        { "{a='x", "Not a multi-property string: {a='x" },
        { "{a='x\\", "Not a multi-property string: {a='x\\" },
        { " {a='1'} x", "Not a multi-property string: {a='1'} x" },
        { "{a='x}", "Object name '{a='x}' ended unexpectedly at column 6" },
        { "{a='x\\}", "Object name '{a='x\\}' ended unexpectedly at column 7" },
        { " {a}", "Object name '{a}' ended unexpectedly at column 3" },
        { "{a={b='x}}",
          "Unexpected end of object name: {a={b='x}}. Parsing a nested object name starting at column 3 "
          "ended at column 10 which is unexpected." },
        { " {a='1'} {b='2'}",
          "Error parsing object name  {a='1'} {b='2'} (trimmed: {a='1'} {b='2'}). Parsed 6 "
          "characters, but name still has 8 more to parse" },
        // Placeholders inside the name are not substituted again.
        { "{a='%2'} {}",
          "Error parsing object name {a='%2'} {} (trimmed: {a='%2'} {}). Parsed 7 characters, but name "
          "still has 3 more to parse" },
    };
    for (const auto &row : rows)
        EXPECT_EQ(parseError(row.first), row.second);

    // "ended unexpectedly" does not replace an earlier message.
    QString error = QStringLiteral("earlier");
    EXPECT_TRUE(Vexil::parseNameByProperties(QStringLiteral("{a='x}"), &error).isEmpty());
    EXPECT_EQ(error, QStringLiteral("earlier"));
    EXPECT_TRUE(Vexil::parseNameByProperties(QStringLiteral("{a='x}"), nullptr).isEmpty());
}

// Where parsing failed, 0-based in the name as given: the character the message points to.
struct OffsetRow
{
    const char *label;
    const char *name;
    int offset;
};
const OffsetRow kOffsetRows[] = {
    { "unexpectedCharacter", "{a=1}", 3 },     { "missingEquals", "{a~'x'}", 3 },
    { "insideNestedName", "{a={b=2}}", 6 },    { "leadingBlanksCount", "  {a=1}", 5 },
    { "ranOffTheEnd", "{a='x}", 6 },           { "escapedClosingBrace", "{a='x\\}", 7 },
    { "unclosedNestedName", "{a={b='x}}", 3 }, { "surplusAfterClosingBrace", " {a='1'} {b='2'}", 8 },
    { "notMultiProperty", "{a='x", -1 },       { "valid", "{a='1'}", -1 },
};
class ParseErrorOffset : public ::testing::TestWithParam<OffsetRow>
{ };
TEST_P(ParseErrorOffset, PointsAtTheOffendingCharacter)
{
    const QString name = QString::fromUtf8(GetParam().name);
    int offset = 42;
    Vexil::parseNameByProperties(name, nullptr, &offset);
    EXPECT_EQ(offset, GetParam().offset);
    // ObjectName parses only text that itself starts with "{"; its other complaints have no place.
    if (name.startsWith(QLatin1Char('{'))) {
        EXPECT_EQ(ObjectName(name).errorOffset(), GetParam().offset);
    }
}
INSTANTIATE_TEST_SUITE_P(ObjectName, ParseErrorOffset, ::testing::ValuesIn(kOffsetRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(ParseNameByProperties, BoundsNestingDepth)
{
    EXPECT_TRUE(ObjectName(nestedName(Vexil::MaxObjectNameNesting)).isValid());
    EXPECT_FALSE(parseError(nestedName(Vexil::MaxObjectNameNesting + 1)).isEmpty());
    // Hostile input fails cleanly instead of exhausting the stack.
    const ObjectName hostile(nestedName(100000));
    EXPECT_TRUE(hostile.errorMessage().startsWith(QStringLiteral("Object name {a={a=")));
    EXPECT_FALSE(hostile.isMultiProperty());
}

TEST(PropertyValue, PatternsSearchUnanchored)
{
    const auto W = PropertyValue::Wildcard;
    const auto R = PropertyValue::RegularExpression;
    const struct
    {
        PropertyValue::Modifiers op;
        const char *pattern, *candidate;
        bool matches;
    } rows[] = {
        { W, "*.txt", "a.txt", true },
        { W, "*.txt", "a.txt.bak", true },
        { W, "*.txt", "atxt", false },
        { W, "a?c", "xabc", true },
        { W, "a\\*b", "xa*by", true },
        { W, "a\\*b", "aXb", false },
        { W, "[ab]x", "bx", true },
        { W, "[^a]x", "ax", false },
        { W, "[]a]", "]", true },
        { W, "[\\]]", "]", true },
        { W, "[ab", "[ab", false },
        { W, "\\[a\\]", "[a]", true },
        { W, "\\[a]", "[a]", false }, // a lone "]" is copied; the engine rejects the pattern
        { W, "(x)+", "(x)+", true },
        { W, "^a", "b^a", true },
        // A backslash before an ordinary character or a metacharacter stands for itself.
        { W, "a\\x", "a\\x", true },
        { W, "a\\.b", "a\\.b", true },
        { W, "a\\.b", "a.b", false },
        { W, "a\\", "a\\", true },
        // The flag stays set after a doubled backslash, so the "b" is escaped again.
        { W, "a\\\\b", "a\\\\b", true },
        { W, "a\\\\b", "a\\b", false },
        { W, "a\\\\", "a\\\\", true },
        { R, "^OK$", "OK", true },
        { R, "^OK$", "OK!", false },
        { R, "Save", "Save As", true },
        { R, "(", "(", false },
        { PropertyValue::Modifiers(5), "x", "x", false },
    };
    for (const auto &row : rows) {
        EXPECT_EQ(plain(QString::fromLatin1(row.pattern), row.op).matches(QString::fromLatin1(row.candidate)),
                  row.matches)
            << row.pattern << " against " << row.candidate;
    }
}

TEST(PropertyValue, EqualsResolvesNestedAndSymbolicNames)
{
    ASSERT_EQ(ObjectMap::self(), nullptr);
    const PropertyValue nested(QStringLiteral("{type='QDialog' title='Save'}"), PropertyValue::Equals,
                               PropertyValue::NestedName);
    EXPECT_TRUE(nested.matches(QStringLiteral("{title='Save'  type='QDialog'}")));
    EXPECT_TRUE(nested.matches(QStringLiteral(":{title='Save' type='QDialog'}"))); // no map: ":" dropped
    EXPECT_FALSE(nested.matches(QStringLiteral("{title~='Save' type='QDialog'}")));
    EXPECT_FALSE(nested.matches(QStringLiteral("{type='QDialog'}")));

    const PropertyValue symbolic(QStringLiteral(":Dialog"), PropertyValue::Equals, PropertyValue::PlainText);
    EXPECT_TRUE(symbolic.matches(QStringLiteral(":Dialog")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("{type='QDialog' title='Save'}"))); // no map: unknown
    EXPECT_FALSE(plain("Save").matches(QStringLiteral("save")));
    EXPECT_FALSE(plain("Save").matches(QStringLiteral("Save As")));

    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{type='QDialog' title='Save'}")), QStringLiteral(":Dialog"));
    map.add(ObjectName(QStringLiteral("{type='QDialog' title='Save'}")), QStringLiteral(":Alias"));
    EXPECT_TRUE(symbolic.matches(QStringLiteral("{title='Save' type='QDialog'}")));
    EXPECT_TRUE(symbolic.matches(QStringLiteral(":Alias")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("{title='Open' type='QDialog'}")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("title='Save'"))); // neither symbolic nor multi-property
    EXPECT_FALSE(plain(":Other").matches(QStringLiteral(":Dialog")));
    EXPECT_TRUE(nested.matches(QStringLiteral(":Dialog")));
    EXPECT_FALSE(nested.matches(QStringLiteral(":Missing")));
}

TEST(ObjectName, ValidityEmptinessAndMultiProperty)
{
    const ObjectName none;
    EXPECT_TRUE(none.isValid());
    EXPECT_TRUE(none.isEmpty());
    EXPECT_FALSE(none.isMultiProperty());
    EXPECT_EQ(ObjectName(QString()).errorMessage(),
              QStringLiteral("Empty string is not a valid object name."));

    const ObjectName hierarchical(QStringLiteral("a.b"));
    EXPECT_FALSE(hierarchical.isEmpty());
    EXPECT_TRUE(hierarchical.properties().isEmpty());
    EXPECT_TRUE(hierarchical.isValid());
    EXPECT_FALSE(hierarchical.isMultiProperty());
    EXPECT_EQ(ObjectName(QStringLiteral("{a.b")).errorMessage(),
              QStringLiteral("Hierarchical names must not start with '{' or end in '}': {a.b"));
    EXPECT_EQ(ObjectName(QStringLiteral("a.b}")).errorMessage(),
              QStringLiteral("Hierarchical names must not start with '{' or end in '}': a.b}"));

    const ObjectName braces(QStringLiteral("{}"));
    EXPECT_TRUE(braces.isValid());
    EXPECT_TRUE(braces.isMultiProperty());
    EXPECT_TRUE(braces.properties().isEmpty());

    // A parse error is kept, even after the properties change.
    ObjectName bad(QStringLiteral("{a=1}"));
    const QString message = parseError(QStringLiteral("{a=1}"));
    EXPECT_EQ(bad.errorMessage(), message);
    EXPECT_FALSE(bad.isMultiProperty());
    bad.setProperty("a", plain("1"));
    EXPECT_EQ(bad.errorMessage(), message);
}

TEST(ObjectName, TextStaysVerbatimUntilPropertiesChange)
{
    ObjectName name(QStringLiteral("{b='2'  a~='1'}"));
    EXPECT_EQ(name.property("a").modifiers(), PropertyValue::RegularExpression);
    EXPECT_EQ(name.qualifiedName(), QStringLiteral("{b='2'  a~='1'}"));
    EXPECT_TRUE(name.property("missing").value().isEmpty());
    name.setProperty("b", plain("3"));
    EXPECT_EQ(name.qualifiedName(), QStringLiteral("{a~='1' b='3'}"));
    name.removeProperty("a");
    EXPECT_EQ(name.qualifiedName(), QStringLiteral("{b='3'}"));

    ObjectName hierarchical(QStringLiteral("a.b"));
    hierarchical.setProperty("type", plain("X"));
    EXPECT_EQ(hierarchical.qualifiedName(), QStringLiteral("{type='X'}"));
    EXPECT_TRUE(hierarchical.isMultiProperty());

    Props props;
    props.insert("k", plain("v"));
    const ObjectName fromProps(props);
    EXPECT_FALSE(fromProps.isEmpty());
    EXPECT_EQ(fromProps.qualifiedName(), QStringLiteral("{k='v'}"));
    EXPECT_TRUE(ObjectName(Props()).isEmpty());
}

TEST(ObjectName, OccurrenceValue)
{
    const std::pair<const char *, int> rows[] = { { "{occurrence='2'}", 2 },   { "{occurrence='0'}", -1 },
                                                  { "{occurrence='-3'}", -1 }, { "{occurrence='x'}", -1 },
                                                  { "{occurrence=''}", 1 },    { "{type='A'}", 1 } };
    for (const auto &row : rows)
        EXPECT_EQ(ObjectName(QString::fromLatin1(row.first)).occurrenceValue(), row.second) << row.first;
}

TEST(ObjectName, EqualityComparesKeysValuesAndOperators)
{
    const auto bothEqual = [](const QString &a, const QString &b) {
        EXPECT_EQ(ObjectName(a) == ObjectName(b), Vexil::qualifiedNamesEqual(a, b)) << a.toStdString();
        return Vexil::qualifiedNamesEqual(a, b);
    };
    EXPECT_TRUE(bothEqual(QStringLiteral("{b='2' a='1'}"), QStringLiteral("{a='1'   b='2'}")));
    EXPECT_FALSE(bothEqual(QStringLiteral("{a='1'}"), QStringLiteral("{a~='1'}")));
    EXPECT_FALSE(bothEqual(QStringLiteral("{a='1'}"), QStringLiteral("{a='1' b='2'}")));
    EXPECT_FALSE(bothEqual(QStringLiteral("{a='1'}"), QStringLiteral("{c='1'}")));
    // The type is not compared: a quoted copy of a nested name's text is equal.
    EXPECT_TRUE(bothEqual(QStringLiteral("{w={a='1'}}"), QStringLiteral("{w='{a=\\'1\\'}'}")));
    // Plain and invalid names compare as text only.
    EXPECT_TRUE(bothEqual(QStringLiteral("a.b"), QStringLiteral("a.b")));
    EXPECT_FALSE(bothEqual(QStringLiteral("a.b"), QStringLiteral("a.b ")));
    EXPECT_FALSE(Vexil::qualifiedNamesEqual(QStringLiteral("{a='1'}"), QStringLiteral(" {a='1'}")));
    EXPECT_EQ(ObjectName(QStringLiteral("{a=1}")), ObjectName(QStringLiteral("{a=1}")));
    EXPECT_NE(ObjectName(QStringLiteral("{a=1}")), ObjectName(QStringLiteral("{}")));
    EXPECT_TRUE(Vexil::isMultiPropertyName(QStringLiteral("{}")));
    EXPECT_FALSE(Vexil::isMultiPropertyName(QStringLiteral(" {}")));
}

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
    const Props props = Vexil::parseNameByProperties(name, &error);
    EXPECT_TRUE(props.isEmpty()) << name.toStdString();
    return error;
}

QString nestedName(int levels)
{
    QString text;
    for (int i = 1; i < levels; ++i)
        text += QStringLiteral("{a=");
    text += QStringLiteral("{}");
    for (int i = 1; i < levels; ++i)
        text += QLatin1Char('}');
    return text;
}

} // namespace

TEST(ParseNameByProperties, AcceptsSpacingRepeatsAndOperators)
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
    p = Vexil::parseNameByProperties(QStringLiteral("{a='1'b='2' 'k{='3'}"));
    EXPECT_EQ(p.keys(), QStringList({"'k{", "a", "b"}));
}

TEST(ParseNameByProperties, EscapesRoundTripThroughPrinting)
{
    const QString text = QStringLiteral("{a='it\\'s' b='c:\\\\\\\\d'}");
    const Props p = Vexil::parseNameByProperties(text);
    EXPECT_EQ(p.value("a").value(), QStringLiteral("it's"));
    EXPECT_EQ(p.value("b").value(), QStringLiteral("c:\\\\d"));
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p), text);
}

TEST(ParseNameByProperties, KeepsNestedNamesVerbatim)
{
    const Props p = Vexil::parseNameByProperties(QStringLiteral("{w={type='X'  name='y}'} v~={z='1'} type='Y'}"));
    ASSERT_EQ(p.size(), 3);
    EXPECT_EQ(p.value("w").type(), PropertyValue::NestedName);
    EXPECT_EQ(p.value("w").value(), QStringLiteral("{type='X'  name='y}'}"));
    EXPECT_EQ(p.value("v").modifiers(), PropertyValue::RegularExpression);
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p),
              QStringLiteral("{type='Y' v~={z='1'} w={type='X'  name='y}'}}"));
}

struct ErrorRow {
    const char *label;
    QString name;
    QString message;
};

class ParseErrors : public ::testing::TestWithParam<ErrorRow> {};

TEST_P(ParseErrors, GiveExactMessage)
{
    EXPECT_EQ(parseError(GetParam().name), GetParam().message);
}

const ErrorRow kErrorRows[] = {
    {"unquoted_value", "{a=1}", "Parse error while parsing '{a=1}': at column 4: expected either ' or { or whitespace, "
                                "got 1\n"},
    {"tilde_without_equals", "{a~'x'}", "Parse error while parsing '{a~'x'}': at column 4: expected =, got '\n"},
    {"latin1_offender", QString::fromUtf8("{a=\xc3\xa9}"),
     QString::fromUtf8("Parse error while parsing '{a=\xc3\xa9}': at column 4: expected either ' or { or whitespace, "
                       "got \xc3\xa9\n")},
    {"wide_offender_shown_as_nul", QString::fromUtf8("{a=\xe4\xb8\xad}"),
     QString::fromUtf8("Parse error while parsing '{a=\xe4\xb8\xad}': at column 4: expected either ' or { or "
                       "whitespace, got ") + QChar(0) + QStringLiteral("\n")},
    {"nested_error", "{a={b=2}}", "Parse error while parsing '{a={b=2}}': at column 7: expected either ' or { or "
                                  "whitespace, got 2\n"},
    // The braces are checked before anything else, so these never reach the character parser.
    {"unclosed_quote", "{a='x", "Not a multi-property string: {a='x"},
    {"trailing_backslash", "{a='x\\", "Not a multi-property string: {a='x\\"},
    {"text_after_brace", " {a='1'} x", "Not a multi-property string: {a='1'} x"},
    {"quote_swallows_brace", "{a='x}", "Object name '{a='x}' ended unexpectedly at column 6"},
    {"escaped_last_brace", "{a='x\\}", "Object name '{a='x\\}' ended unexpectedly at column 7"},
    {"key_swallows_brace", " {a}", "Object name '{a}' ended unexpectedly at column 3"},
    {"nested_runs_off", "{a={b='x}}", "Unexpected end of object name: {a={b='x}}. Parsing a nested object name "
                                      "starting at column 3 ended at column 10 which is unexpected."},
    {"second_name", " {a='1'} {b='2'}", "Error parsing object name  {a='1'} {b='2'} (trimmed: {a='1'} {b='2'}). "
                                        "Parsed 6 characters, but name still has 8 more to parse"},
    // Placeholders inside the name are not substituted again.
    {"percent_in_name", "{a='%2'} {}", "Error parsing object name {a='%2'} {} (trimmed: {a='%2'} {}). Parsed 7 "
                                       "characters, but name still has 3 more to parse"},
};

INSTANTIATE_TEST_SUITE_P(ObjectName, ParseErrors, ::testing::ValuesIn(kErrorRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(ParseNameByProperties, EarlierMessageIsNotOverwritten)
{
    QString error = QStringLiteral("earlier");
    EXPECT_TRUE(Vexil::parseNameByProperties(QStringLiteral("{a='x}"), &error).isEmpty());
    EXPECT_EQ(error, QStringLiteral("earlier"));
    EXPECT_TRUE(Vexil::parseNameByProperties(QStringLiteral("{a='x}"), nullptr).isEmpty());
}

TEST(ParseNameByProperties, BoundsNestingDepth)
{
    QString error;
    EXPECT_EQ(Vexil::parseNameByProperties(nestedName(Vexil::MaxObjectNameNesting), &error).size(), 1);
    EXPECT_TRUE(error.isEmpty()) << error.toStdString();

    const QString tooDeep = nestedName(Vexil::MaxObjectNameNesting + 1);
    EXPECT_EQ(parseError(tooDeep), QStringLiteral("Object name %1 nests names more than 256 levels deep at column %2")
                                       .arg(tooDeep, QString::number(3 * Vexil::MaxObjectNameNesting)));

    // Hostile input: must fail cleanly instead of exhausting the stack.
    const QString hostile = nestedName(100000);
    EXPECT_TRUE(parseError(hostile).startsWith(QStringLiteral("Object name {a={a=")));
    ObjectName name(hostile);
    EXPECT_FALSE(name.isValid());
    EXPECT_FALSE(name.isMultiProperty());
}

TEST(QualifiedNameFromProperties, PrintsCanonicalForm)
{
    Props p;
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p), QStringLiteral("{}"));
    p.insert("type", PropertyValue("QLabel", PropertyValue::Equals, PropertyValue::PlainText));
    p.insert("text", PropertyValue("It's", PropertyValue::Equals, PropertyValue::PlainText));
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p), QStringLiteral("{text='It\\'s' type='QLabel'}"));
    p.insert("w", PropertyValue("{a='1'}", PropertyValue::Wildcard, PropertyValue::NestedName));
    p.insert("x", PropertyValue("v", PropertyValue::Modifiers(7), PropertyValue::PlainText));
    EXPECT_EQ(Vexil::qualifiedNameFromProperties(p),
              QStringLiteral("{text='It\\'s' type='QLabel' w?={a='1'} x'v'}"));
}

struct MatchRow {
    const char *label;
    PropertyValue::Modifiers modifiers;
    QString pattern;
    QString candidate;
    bool matches;
};

class PatternMatching : public ::testing::TestWithParam<MatchRow> {};

TEST_P(PatternMatching, SearchesUnanchored)
{
    const MatchRow &row = GetParam();
    EXPECT_EQ(PropertyValue(row.pattern, row.modifiers, PropertyValue::PlainText).matches(row.candidate), row.matches);
}

const auto W = PropertyValue::Wildcard;
const auto R = PropertyValue::RegularExpression;
const MatchRow kMatchRows[] = {
    {"star_suffix", W, "*.txt", "a.txt", true},
    {"star_unanchored", W, "*.txt", "a.txt.bak", true},
    {"dot_is_literal", W, "*.txt", "atxt", false},
    {"question", W, "a?c", "xabc", true},
    {"escaped_star", W, "a\\*b", "xa*by", true},
    {"escaped_star_literal", W, "a\\*b", "aXb", false},
    {"bracket", W, "[ab]x", "bx", true},
    {"bracket_negated", W, "[^a]x", "ax", false},
    {"bracket_close_member", W, "[]a]", "]", true},
    {"bracket_escape_inside", W, "[\\]]", "]", true},
    {"unterminated_bracket", W, "[ab", "[ab", false},
    {"escaped_brackets", W, "\\[a\\]", "[a]", true},
    // A lone "]" is copied as it is, which the regular-expression engine rejects: never a match.
    {"stray_close_bracket", W, "\\[a]", "[a]", false},
    {"metachars_literal", W, "(x)+", "(x)+", true},
    {"caret_literal", W, "^a", "b^a", true},
    // A backslash before an ordinary character or a metacharacter stands for itself.
    {"backslash_ordinary", W, "a\\x", "a\\x", true},
    {"backslash_dot", W, "a\\.b", "a\\.b", true},
    {"backslash_dot_not_dot", W, "a\\.b", "a.b", false},
    {"trailing_backslash", W, "a\\", "a\\", true},
    // The flag stays set after a doubled backslash, so the "b" is escaped again.
    {"doubled_backslash_sticky", W, "a\\\\b", "a\\\\b", true},
    {"doubled_backslash_sticky_miss", W, "a\\\\b", "a\\b", false},
    {"doubled_backslash_at_end", W, "a\\\\", "a\\\\", true},
    {"regex_anchored", R, "^OK$", "OK", true},
    {"regex_anchored_miss", R, "^OK$", "OK!", false},
    {"regex_unanchored", R, "Save", "Save As", true},
    {"regex_invalid", R, "(", "(", false},
    {"unknown_modifier", PropertyValue::Modifiers(5), "x", "x", false},
};

INSTANTIATE_TEST_SUITE_P(PropertyValue, PatternMatching, ::testing::ValuesIn(kMatchRows),
                         [](const auto &info) { return std::string(info.param.label); });

TEST(PropertyValue, EqualsResolvesNamesWithoutMap)
{
    ASSERT_EQ(ObjectMap::self(), nullptr);
    const PropertyValue nested(QStringLiteral("{type='X' name='y'}"), PropertyValue::Equals,
                               PropertyValue::NestedName);
    EXPECT_TRUE(nested.matches(QStringLiteral("{name='y'  type='X'}")));
    EXPECT_TRUE(nested.matches(QStringLiteral(":{name='y' type='X'}")));
    EXPECT_FALSE(nested.matches(QStringLiteral("{name~='y' type='X'}")));
    EXPECT_FALSE(nested.matches(QStringLiteral("{type='X'}")));

    // Without a map no symbolic name is known.
    const PropertyValue symbolic(QStringLiteral(":Dialog"), PropertyValue::Equals, PropertyValue::PlainText);
    EXPECT_TRUE(symbolic.matches(QStringLiteral(":Dialog")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("{type='QDialog'}")));

    const PropertyValue plain(QStringLiteral("Save"), PropertyValue::Equals, PropertyValue::PlainText);
    EXPECT_TRUE(plain.matches(QStringLiteral("Save")));
    EXPECT_FALSE(plain.matches(QStringLiteral("save")));
    EXPECT_FALSE(plain.matches(QStringLiteral("Save As")));
}

TEST(PropertyValue, EqualsResolvesSymbolicNamesThroughMap)
{
    ObjectMap map(false);
    map.add(ObjectName(QStringLiteral("{type='QDialog' title='Save'}")), QStringLiteral(":Dialog"));
    map.add(ObjectName(QStringLiteral("{type='QDialog' title='Save'}")), QStringLiteral(":Alias"));

    const PropertyValue symbolic(QStringLiteral(":Dialog"), PropertyValue::Equals, PropertyValue::PlainText);
    EXPECT_TRUE(symbolic.matches(QStringLiteral("{title='Save' type='QDialog'}")));
    EXPECT_TRUE(symbolic.matches(QStringLiteral(":Alias")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("{title='Open' type='QDialog'}")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("title='Save'")));   // neither symbolic nor multi-property

    const PropertyValue unknown(QStringLiteral(":Other"), PropertyValue::Equals, PropertyValue::PlainText);
    EXPECT_FALSE(unknown.matches(QStringLiteral(":Dialog")));

    const PropertyValue nested(QStringLiteral("{type='QDialog' title='Save'}"), PropertyValue::Equals,
                               PropertyValue::NestedName);
    EXPECT_TRUE(nested.matches(QStringLiteral(":Dialog")));
    EXPECT_FALSE(nested.matches(QStringLiteral(":Missing")));
}

TEST(ObjectName, ValidityOfPlainEmptyAndHalfBracedNames)
{
    const ObjectName none;
    EXPECT_TRUE(none.isValid());
    EXPECT_TRUE(none.isEmpty());
    EXPECT_FALSE(none.isMultiProperty());
    EXPECT_EQ(ObjectName(QString()).errorMessage(), QStringLiteral("Empty string is not a valid object name."));

    const ObjectName plain(QStringLiteral("a.b"));
    EXPECT_FALSE(plain.isEmpty());
    EXPECT_TRUE(plain.properties().isEmpty());
    EXPECT_TRUE(plain.isValid());
    EXPECT_FALSE(plain.isMultiProperty());

    EXPECT_EQ(ObjectName(QStringLiteral("{a.b")).errorMessage(),
              QStringLiteral("Hierarchical names must not start with '{' or end in '}': {a.b"));
    EXPECT_EQ(ObjectName(QStringLiteral("a.b}")).errorMessage(),
              QStringLiteral("Hierarchical names must not start with '{' or end in '}': a.b}"));

    const ObjectName braces(QStringLiteral("{}"));
    EXPECT_TRUE(braces.isValid());
    EXPECT_TRUE(braces.isMultiProperty());
    EXPECT_TRUE(braces.properties().isEmpty());
}

TEST(ObjectName, TextStaysVerbatimUntilPropertiesChange)
{
    ObjectName name(QStringLiteral("{b='2'  a~='1'}"));
    EXPECT_EQ(name.property("a").modifiers(), PropertyValue::RegularExpression);
    EXPECT_EQ(name.qualifiedName(), QStringLiteral("{b='2'  a~='1'}"));
    EXPECT_TRUE(name.property("missing").value().isEmpty());

    name.setProperty("b", PropertyValue("3", PropertyValue::Equals, PropertyValue::PlainText));
    EXPECT_EQ(name.qualifiedName(), QStringLiteral("{a~='1' b='3'}"));
    name.removeProperty("a");
    EXPECT_EQ(name.qualifiedName(), QStringLiteral("{b='3'}"));

    ObjectName plain(QStringLiteral("a.b"));
    plain.setProperty("type", PropertyValue("X", PropertyValue::Equals, PropertyValue::PlainText));
    EXPECT_EQ(plain.qualifiedName(), QStringLiteral("{type='X'}"));
    EXPECT_TRUE(plain.isMultiProperty());

    Props props;
    props.insert("k", PropertyValue("v", PropertyValue::Equals, PropertyValue::PlainText));
    const ObjectName fromProps(props);
    EXPECT_FALSE(fromProps.isEmpty());
    EXPECT_EQ(fromProps.qualifiedName(), QStringLiteral("{k='v'}"));
    EXPECT_TRUE(ObjectName(Props()).isEmpty());
}

TEST(ObjectName, ParseErrorIsKept)
{
    ObjectName name(QStringLiteral("{a=1}"));
    const QString message = QStringLiteral("Parse error while parsing '{a=1}': at column 4: expected either ' or { "
                                           "or whitespace, got 1\n");
    EXPECT_EQ(name.errorMessage(), message);
    EXPECT_FALSE(name.isMultiProperty());
    EXPECT_TRUE(name.properties().isEmpty());
    name.setProperty("a", PropertyValue("1", PropertyValue::Equals, PropertyValue::PlainText));
    EXPECT_EQ(name.errorMessage(), message);
    EXPECT_FALSE(name.isValid());
}

TEST(ObjectName, OccurrenceValue)
{
    const std::pair<const char *, int> rows[] = {{"{occurrence='2'}", 2},  {"{occurrence='0'}", -1},
                                                 {"{occurrence='-3'}", -1}, {"{occurrence='x'}", -1},
                                                 {"{occurrence=''}", 1},    {"{type='A'}", 1}};
    for (const auto &row : rows)
        EXPECT_EQ(ObjectName(QString::fromLatin1(row.first)).occurrenceValue(), row.second) << row.first;
}

TEST(ObjectName, EqualityComparesKeysValuesAndOperators)
{
    const QString a = QStringLiteral("{b='2' a='1'}");
    const QString b = QStringLiteral("{a='1'   b='2'}");
    EXPECT_EQ(ObjectName(a), ObjectName(b));
    EXPECT_TRUE(Vexil::qualifiedNamesEqual(a, b));

    EXPECT_NE(ObjectName(QStringLiteral("{a='1'}")), ObjectName(QStringLiteral("{a~='1'}")));
    EXPECT_FALSE(Vexil::qualifiedNamesEqual(QStringLiteral("{a='1'}"), QStringLiteral("{a~='1'}")));
    EXPECT_NE(ObjectName(QStringLiteral("{a='1'}")), ObjectName(QStringLiteral("{a='1' b='2'}")));
    EXPECT_NE(ObjectName(QStringLiteral("{a='1'}")), ObjectName(QStringLiteral("{c='1'}")));

    // The type is not compared: a quoted copy of a nested name's text is equal.
    const QString nested = QStringLiteral("{w={a='1'}}");
    const QString quoted = QStringLiteral("{w='{a=\\'1\\'}'}");
    EXPECT_EQ(ObjectName(nested), ObjectName(quoted));
    EXPECT_TRUE(Vexil::qualifiedNamesEqual(nested, quoted));

    // Plain names compare as text only.
    EXPECT_EQ(ObjectName(QStringLiteral("a.b")), ObjectName(QStringLiteral("a.b")));
    EXPECT_NE(ObjectName(QStringLiteral("a.b")), ObjectName(QStringLiteral("a.b ")));
    EXPECT_FALSE(Vexil::qualifiedNamesEqual(QStringLiteral("{a='1'}"), QStringLiteral(" {a='1'}")));
    EXPECT_TRUE(Vexil::isMultiPropertyName(QStringLiteral("{}")));
    EXPECT_FALSE(Vexil::isMultiPropertyName(QStringLiteral(" {}")));

    // Invalid names equal only by text.
    EXPECT_EQ(ObjectName(QStringLiteral("{a=1}")), ObjectName(QStringLiteral("{a=1}")));
    EXPECT_NE(ObjectName(QStringLiteral("{a=1}")), ObjectName(QStringLiteral("{}")));
}

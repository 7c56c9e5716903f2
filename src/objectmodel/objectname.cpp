// objectname.cpp: the multi-property name syntax, its printed form, PropertyValue and ObjectName.
#include "objectname.h"

#include "objectmap.h"

namespace Vexil {

namespace {

QString modifierToString(PropertyValue::Modifiers modifiers)
{
    switch (modifiers) {
    case PropertyValue::Equals:
        return QStringLiteral("=");
    case PropertyValue::RegularExpression:
        return QStringLiteral("~=");
    case PropertyValue::Wildcard:
        return QStringLiteral("?=");
    }
    return QString();
}

QString escapeBackslashes(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return text;
}

inline bool isRegExpMetaChar(QChar c)
{
    switch (c.unicode()) {
    case '$': case '(': case ')': case '+': case '.': case '^': case '{': case '|': case '}':
        return true;
    default:
        return false;
    }
}

// Unanchored translation; matches() searches rather than matching the whole candidate.
QString wildcard2regex(const QString &pattern)
{
    const QLatin1String literalBackslash("\\\\");
    const int len = pattern.size();
    QString rx;
    rx.reserve(len * 2);
    bool escaped = false;
    for (int i = 0; i < len; ++i) {
        const QChar c = pattern.at(i);
        switch (c.unicode()) {
        case '*':
            rx += escaped ? QLatin1String("\\*") : QLatin1String(".*");
            break;
        case '?':
            rx += escaped ? QLatin1String("\\?") : QLatin1String(".");
            break;
        case '[':
            if (escaped) {
                rx += QLatin1String("\\[");
                break;
            }
            rx += c;
            ++i;
            if (i < len && pattern.at(i) == QLatin1Char('^'))
                rx += pattern.at(i++);
            if (i < len && pattern.at(i) == QLatin1Char(']'))
                rx += pattern.at(i++);
            while (i < len && pattern.at(i) != QLatin1Char(']')) {
                if (pattern.at(i) == QLatin1Char('\\')) {
                    rx += pattern.at(i++);
                    if (i >= len)
                        break;
                }
                rx += pattern.at(i++);
            }
            if (i >= len)
                return rx;      // unterminated bracket: keep what was copied
            rx += pattern.at(i);
            break;
        case ']':
            rx += escaped ? QLatin1String("\\]") : QLatin1String("]");
            break;
        case '\\':
            if (escaped)
                rx += literalBackslash;
            if (i == len - 1) {
                rx += literalBackslash;
                return rx;
            }
            // Deliberately stays set after an escaped backslash: the next character counts as escaped too.
            escaped = true;
            continue;
        default:
            if (escaped)
                rx += literalBackslash;
            if (isRegExpMetaChar(c))
                rx += QLatin1Char('\\');
            rx += c;
            break;
        }
        escaped = false;
    }
    return rx;
}

inline bool isBlank(QChar c)
{
    return c.unicode() == ' ' || c.unicode() == '\t';
}

enum class ParseStatus { Ok, Failed, RanOffEnd };

// Where parsing stopped, 0-based in the trimmed text; -1 until a failure says.
struct ParsePlace
{
    QString *error;
    int offset = -1;
};

void setParseError(ParsePlace &place, const QString &name, unsigned int pos, const char *expected, QChar got)
{
    place.offset = int(pos);
    QString *error = place.error;
    if (!error)
        return;
    // The offending character is reported in Latin-1; anything beyond it shows as NUL.
    const QChar shown = got.unicode() <= 0xff ? got : QChar(0);
    *error = QStringLiteral("Parse error while parsing '%1': at column %2: expected %3, got %4\n")
                 .arg(name, QString::number(pos + 1), QLatin1String(expected), QString(shown));
}

// One level of braces, starting on its "{"; on success pos is left on the matching "}". Nested
// levels are only validated (out is null) since the caller keeps their text verbatim. Running
// off the end is reported by the caller, which knows whether it was inside a nested name.
ParseStatus parseNameByPropertiesRecursive(const QString &name, unsigned int &pos, ParsePlace &place, int depth,
                                           QMap<QString, PropertyValue> *out)
{
    QString *error = place.error;
    const QChar *d = name.constData();
    const unsigned int len = static_cast<unsigned int>(name.size());

    if (pos >= len)
        return ParseStatus::RanOffEnd;
    if (d[pos] != QLatin1Char('{')) {
        setParseError(place, name, pos, "{", d[pos]);
        return ParseStatus::Failed;
    }
    if (depth > MaxObjectNameNesting) {
        place.offset = int(pos);
        if (error)
            *error = QStringLiteral("Object name %1 nests names more than %2 levels deep at column %3")
                         .arg(name, QString::number(MaxObjectNameNesting), QString::number(pos));
        return ParseStatus::Failed;
    }
    ++pos;

    QString key;
    QString value;
    for (;;) {
        // Between entries.
        while (pos < len && isBlank(d[pos]))
            ++pos;
        if (pos >= len)
            return ParseStatus::RanOffEnd;
        if (d[pos] == QLatin1Char('}'))
            return ParseStatus::Ok;

        // Key: the first character is taken whatever it is; blanks inside are dropped.
        PropertyValue::Modifiers op = PropertyValue::Equals;
        {
            const unsigned int start = pos++;
            while (pos < len) {
                const ushort u = d[pos].unicode();
                if (u == '=' || u == '~' || u == '?' || u == ' ' || u == '\t')
                    break;
                ++pos;
            }
            if (out)
                key = QString(d + start, static_cast<int>(pos - start));
        }
        for (;;) {
            if (pos >= len)
                return ParseStatus::RanOffEnd;
            const QChar c = d[pos];
            if (c == QLatin1Char('=')) {
                ++pos;
                break;
            }
            if (c == QLatin1Char('~') || c == QLatin1Char('?')) {
                ++pos;
                if (pos >= len)
                    return ParseStatus::RanOffEnd;
                if (d[pos] != QLatin1Char('=')) {
                    setParseError(place, name, pos, "=", d[pos]);
                    return ParseStatus::Failed;
                }
                op = c == QLatin1Char('~') ? PropertyValue::RegularExpression : PropertyValue::Wildcard;
                ++pos;
                break;
            }
            if (isBlank(c)) {
                ++pos;
                continue;
            }
            const unsigned int start = pos;
            while (pos < len) {
                const ushort u = d[pos].unicode();
                if (u == '=' || u == '~' || u == '?' || u == ' ' || u == '\t')
                    break;
                ++pos;
            }
            if (out)
                key.append(d + start, static_cast<int>(pos - start));
        }

        // Value.
        while (pos < len && isBlank(d[pos]))
            ++pos;
        if (pos >= len)
            return ParseStatus::RanOffEnd;
        if (d[pos] == QLatin1Char('\'')) {
            ++pos;
            if (out)
                value = QString();
            for (;;) {
                const unsigned int start = pos;
                while (pos < len && d[pos] != QLatin1Char('\'') && d[pos] != QLatin1Char('\\'))
                    ++pos;
                if (out && pos > start) {
                    if (value.isNull())
                        value = QString(d + start, static_cast<int>(pos - start));
                    else
                        value.append(d + start, static_cast<int>(pos - start));
                }
                if (pos >= len)
                    return ParseStatus::RanOffEnd;
                if (d[pos] == QLatin1Char('\'')) {
                    if (out)
                        out->insert(key, PropertyValue(value, op, PropertyValue::PlainText));
                    ++pos;
                    break;
                }
                // A backslash takes the next character literally.
                if (pos + 1 >= len) {
                    place.offset = int(pos);
                    if (error)
                        *error = QStringLiteral("Object name %1 unexpectedly ends in backslash at column %2")
                                     .arg(name, QString::number(pos));
                    return ParseStatus::Failed;
                }
                if (out)
                    value.append(d[pos + 1]);
                pos += 2;
            }
        } else if (d[pos] == QLatin1Char('{')) {
            const unsigned int start = pos;
            const ParseStatus nested = parseNameByPropertiesRecursive(name, pos, place, depth + 1, nullptr);
            if (nested == ParseStatus::Failed)
                return ParseStatus::Failed;
            if (nested == ParseStatus::RanOffEnd) {
                place.offset = int(start);
                if (error)
                    *error = QStringLiteral("Unexpected end of object name: %1. Parsing a nested object name "
                                            "starting at column %2 ended at column %3 which is unexpected.")
                                 .arg(name, QString::number(start), QString::number(pos));
                return ParseStatus::Failed;
            }
            if (d[pos] != QLatin1Char('}')) {
                setParseError(place, name, pos, "}", d[pos]);
                return ParseStatus::Failed;
            }
            if (out) {
                const QString text = name.mid(static_cast<int>(start), static_cast<int>(pos - start + 1));
                out->insert(key, PropertyValue(text, op, PropertyValue::NestedName));
            }
            ++pos;
        } else {
            setParseError(place, name, pos, "either ' or { or whitespace", d[pos]);
            return ParseStatus::Failed;
        }
    }
}

bool sameValue(const PropertyValue &a, const PropertyValue &b)
{
    return a.modifiers() == b.modifiers() && a.value() == b.value();
}

// Same number of entries and, key by key, equal value text and operator; the type is not compared.
bool samePropertyMaps(const QMap<QString, PropertyValue> &a, const QMap<QString, PropertyValue> &b)
{
    if (a.size() != b.size())
        return false;
    for (auto ia = a.cbegin(), ib = b.cbegin(); ia != a.cend(); ++ia, ++ib) {
        if (ia.key() != ib.key() || !sameValue(ia.value(), ib.value()))
            return false;
    }
    return true;
}

} // namespace

bool isMultiPropertyName(const QString &s)
{
    return s.startsWith(QLatin1Char('{')) && s.endsWith(QLatin1Char('}'));
}

QMap<QString, PropertyValue> parseNameByProperties(const QString &name, QString *error, int *errorOffset)
{
    if (errorOffset)
        *errorOffset = -1;
    const QString trimmed = name.trimmed();
    if (!isMultiPropertyName(trimmed)) {
        if (error)
            *error = QStringLiteral("Not a multi-property string: %1").arg(trimmed);
        return QMap<QString, PropertyValue>();
    }
    // Places are counted in the trimmed text; the caller's are in the text as given.
    int lead = 0;
    while (name.at(lead).isSpace())
        ++lead;
    auto fail = [&](int offset) {
        if (errorOffset && offset >= 0)
            *errorOffset = lead + offset;
        return QMap<QString, PropertyValue>();
    };

    QMap<QString, PropertyValue> props;
    unsigned int pos = 0;
    ParsePlace place { error };
    const ParseStatus status = parseNameByPropertiesRecursive(trimmed, pos, place, 1, &props);
    const unsigned int len = static_cast<unsigned int>(trimmed.size());
    if (status == ParseStatus::Failed)
        return fail(place.offset);
    if (status == ParseStatus::RanOffEnd) {
        if (error && error->isEmpty())
            *error = QStringLiteral("Object name '%1' ended unexpectedly at column %2")
                         .arg(trimmed, QString::number(pos));
        return fail(int(pos));
    }
    if (pos + 1 < len) {
        if (error && error->isEmpty())
            *error = QStringLiteral("Error parsing object name %1 (trimmed: %2). Parsed %3 characters, "
                                    "but name still has %4 more to parse")
                         .arg(name, trimmed, QString::number(pos), QString::number(len - pos - 1));
        // The parser stopped on the closing brace; the first surplus character follows it.
        return fail(int(pos) + 1);
    }
    return props;
}

QString qualifiedNameFromProperties(const QMap<QString, PropertyValue> &props)
{
    QString text;
    text.reserve(2 + props.size() * 24);
    text += QLatin1Char('{');
    for (auto it = props.cbegin(); it != props.cend(); ++it) {
        if (it != props.cbegin())
            text += QLatin1Char(' ');
        text += it.key();
        text += modifierToString(it->modifiers());
        if (it->type() == PropertyValue::NestedName) {
            text += it->value();
        } else {
            text += QLatin1Char('\'');
            text += escapeBackslashes(it->value());
            text += QLatin1Char('\'');
        }
    }
    text += QLatin1Char('}');
    return text;
}

bool qualifiedNamesEqual(const QString &a, const QString &b)
{
    if (!isMultiPropertyName(a) || !isMultiPropertyName(b) || a == b)
        return a == b;
    return samePropertyMaps(parseNameByProperties(a, nullptr), parseNameByProperties(b, nullptr));
}

// PropertyValue

PropertyValue::PropertyValue()
    : m_modifiers(Equals)
    , m_type(PlainText)
{
}

PropertyValue::PropertyValue(const QString &value, Modifiers modifiers, Type type)
    : m_value(value)
    , m_modifiers(modifiers)
    , m_type(type)
{
    if (modifiers == RegularExpression || modifiers == Wildcard) {
        const QString pattern = modifiers == Wildcard ? wildcard2regex(value) : value;
        m_pattern = QSharedPointer<QRegExp>::create(pattern, Qt::CaseSensitive, QRegExp::RegExp);
    }
}

namespace {

// Without a current map no symbolic name is known; a leading ":" is dropped as object lookup does,
// so ":x" and "x" still denote the same object.
ObjectName resolvedName(const QString &name)
{
    if (ObjectMap *map = ObjectMap::self())
        return map->objectName(name);
    if (name.startsWith(QLatin1Char(':')))
        return ObjectName(name.mid(1));
    return ObjectName(name);
}

} // namespace

bool PropertyValue::matches(const QString &candidate) const
{
    switch (m_modifiers) {
    case RegularExpression:
    case Wildcard:
        return m_pattern && m_pattern->indexIn(candidate, 0) != -1;
    case Equals:
        break;
    default:
        return false;
    }

    if (m_value == candidate)
        return true;
    if (m_type == NestedName)
        return resolvedName(candidate) == resolvedName(m_value);
    if (m_value.startsWith(QLatin1Char(':'))
        && (candidate.startsWith(QLatin1Char(':')) || isMultiPropertyName(candidate))) {
        // Only a symbolic name the map knows can stand for another spelling of the object.
        const ObjectMap *map = ObjectMap::self();
        if (!map)
            return false;
        const auto it = map->symbolicNames().constFind(m_value);
        if (it == map->symbolicNames().cend())
            return false;
        return it.value() == map->objectName(candidate);
    }
    return false;
}

// ObjectName

ObjectName::ObjectName()
    : m_current(TextCurrent | PropertiesCurrent)
{
}

ObjectName::ObjectName(const QString &text)
    : m_name(text)
    , m_current(TextCurrent)
{
    if (text.isEmpty())
        m_error = QStringLiteral("Empty string is not a valid object name.");
}

ObjectName::ObjectName(const QMap<QString, PropertyValue> &properties)
    : m_properties(properties)
    , m_current(PropertiesCurrent)
{
}

void ObjectName::ensureProperties() const
{
    if (m_current & PropertiesCurrent)
        return;
    if (isMultiPropertyName(m_name)) {
        QString error;
        int offset = -1;
        m_properties = parseNameByProperties(m_name, &error, &offset);
        if (!error.isEmpty() && m_error.isEmpty()) {
            m_error = error;
            m_errorOffset = offset;
        }
    } else if (m_name.startsWith(QLatin1Char('{')) || m_name.endsWith(QLatin1Char('}'))) {
        if (m_error.isEmpty())
            m_error = QStringLiteral("Hierarchical names must not start with '{' or end in '}': ") + m_name;
    }
    m_current = TextCurrent | PropertiesCurrent;
}

const QString &ObjectName::printedName() const
{
    m_name = qualifiedNameFromProperties(m_properties);
    m_current = TextCurrent | PropertiesCurrent;
    return m_name;
}

const QMap<QString, PropertyValue> &ObjectName::properties() const
{
    ensureProperties();
    return m_properties;
}

PropertyValue ObjectName::property(const QString &key) const
{
    return properties().value(key);
}

void ObjectName::setProperty(const QString &key, const PropertyValue &value)
{
    ensureProperties();
    m_properties.insert(key, value);
    m_current = PropertiesCurrent;
}

void ObjectName::removeProperty(const QString &key)
{
    ensureProperties();
    m_properties.remove(key);
    m_current = PropertiesCurrent;
}

QString ObjectName::errorMessage() const
{
    ensureProperties();
    return m_error;
}

int ObjectName::errorOffset() const
{
    ensureProperties();
    return m_errorOffset;
}

bool ObjectName::isValid() const
{
    return errorMessage().isEmpty();
}

bool ObjectName::isMultiProperty() const
{
    if (!isValid())
        return false;
    if (!m_properties.isEmpty())
        return true;
    return isMultiPropertyName(qualifiedName());
}

bool ObjectName::isEmpty() const
{
    if (m_current & PropertiesCurrent) {
        if (m_properties.isEmpty())
            return true;
    }
    if (!(m_current & TextCurrent))
        return false;
    return m_name.isEmpty();
}

int ObjectName::occurrenceValue() const
{
    const auto it = properties().constFind(QStringLiteral("occurrence"));
    if (it == m_properties.cend() || it->value().isEmpty())
        return 1;
    bool ok = false;
    const int n = it->value().toInt(&ok, 10);
    return ok && n > 0 ? n : -1;
}

bool ObjectName::operator==(const ObjectName &other) const
{
    if (qualifiedName() == other.qualifiedName())
        return true;
    if (!isMultiProperty() || !other.isMultiProperty())
        return false;
    return samePropertyMaps(m_properties, other.m_properties);
}

} // namespace Vexil

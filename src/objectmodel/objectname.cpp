// objectname.cpp: the multi-property name syntax, its printed form, PropertyValue and ObjectName.
#include "objectname.h"

#include "objectmap.h"
#include "objectname_p.h"

#include <QVarLengthArray>

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
    case '$':
    case '(':
    case ')':
    case '+':
    case '.':
    case '^':
    case '{':
    case '|':
    case '}':
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
                return rx; // unterminated bracket: keep what was copied
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

// Collects the entries the parser reads into a property map: a later entry replaces an earlier one of the same
// key.
class MapSink
{
public:
    explicit MapSink(QMap<QString, PropertyValue> *map)
        : m_map(map)
    {
    }

    void beginKey(const QChar *text, int n) { m_key = QString(text, n); }
    void appendKey(const QChar *text, int n) { m_key.append(text, n); }
    void beginValue() { m_value = QString(); }
    void appendValue(const QChar *text, int n)
    {
        if (m_value.isNull())
            m_value = QString(text, n);
        else
            m_value.append(text, n);
    }
    void appendValue(QChar c) { m_value.append(c); }
    void endValue(PropertyValue::Modifiers op)
    {
        m_map->insert(m_key, PropertyValue(m_value, op, PropertyValue::PlainText));
    }
    void nestedValue(const QString &name, unsigned int start, unsigned int n, PropertyValue::Modifiers op)
    {
        m_map->insert(m_key, PropertyValue(name.mid(int(start), int(n)), op, PropertyValue::NestedName));
    }

private:
    QMap<QString, PropertyValue> *m_map;
    QString m_key;
    QString m_value;
};

// Folds the text of a key or value, however the parser hands it over in pieces.
struct TextHash
{
    quint64 h = 14695981039346656037ull;
    void add(const QChar *text, int n)
    {
        for (int i = 0; i < n; ++i)
            h = (h ^ text[i].unicode()) * 1099511628211ull;
    }
};

// The hash of one entry from its key, operator and value text: what equality by properties compares.
uint entryHash(quint64 key, PropertyValue::Modifiers op, quint64 value)
{
    const quint64 h = (key * 0x9e3779b97f4a7c15ull) ^ (value + quint64(quint32(op)) * 0xc2b2ae3d27d4eb4full);
    return uint(h ^ (h >> 32));
}

// Hashes the entries the parser reads without building a map. Their hashes are summed, so the order of the
// entries does not count; a name with a key twice is left to the map, which keeps the last entry.
class HashSink
{
public:
    void beginKey(const QChar *text, int n)
    {
        m_key = TextHash();
        m_key.add(text, n);
    }
    void appendKey(const QChar *text, int n) { m_key.add(text, n); }
    void beginValue() { m_value = TextHash(); }
    void appendValue(const QChar *text, int n) { m_value.add(text, n); }
    void appendValue(QChar c) { m_value.add(&c, 1); }
    void endValue(PropertyValue::Modifiers op)
    {
        for (quint64 seen : m_keys)
            m_repeatedKey = m_repeatedKey || seen == m_key.h;
        m_keys.append(m_key.h);
        m_sum += entryHash(m_key.h, op, m_value.h);
    }
    void nestedValue(const QString &name, unsigned int start, unsigned int n, PropertyValue::Modifiers op)
    {
        beginValue();
        appendValue(name.constData() + start, int(n));
        endValue(op);
    }

    bool repeatedKey() const { return m_repeatedKey; }
    uint sum() const { return m_sum; }

private:
    TextHash m_key;
    TextHash m_value;
    QVarLengthArray<quint64, 8> m_keys;
    bool m_repeatedKey = false;
    uint m_sum = 0;
};

// One level of braces, starting on its "{"; on success pos is left on the matching "}". Nested
// levels are only validated (out is null) since the caller keeps their text verbatim. Running
// off the end is reported by the caller, which knows whether it was inside a nested name.
template <class Sink>
ParseStatus parseNameByPropertiesRecursive(const QString &name, unsigned int &pos, ParsePlace &place,
                                           int depth, Sink *out)
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
                out->beginKey(d + start, static_cast<int>(pos - start));
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
                out->appendKey(d + start, static_cast<int>(pos - start));
        }

        // Value.
        while (pos < len && isBlank(d[pos]))
            ++pos;
        if (pos >= len)
            return ParseStatus::RanOffEnd;
        if (d[pos] == QLatin1Char('\'')) {
            ++pos;
            if (out)
                out->beginValue();
            for (;;) {
                const unsigned int start = pos;
                while (pos < len && d[pos] != QLatin1Char('\'') && d[pos] != QLatin1Char('\\'))
                    ++pos;
                if (out && pos > start)
                    out->appendValue(d + start, static_cast<int>(pos - start));
                if (pos >= len)
                    return ParseStatus::RanOffEnd;
                if (d[pos] == QLatin1Char('\'')) {
                    if (out)
                        out->endValue(op);
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
                    out->appendValue(d[pos + 1]);
                pos += 2;
            }
        } else if (d[pos] == QLatin1Char('{')) {
            const unsigned int start = pos;
            const ParseStatus nested = parseNameByPropertiesRecursive(name, pos, place, depth + 1,
                                                                      static_cast<Sink *>(nullptr));
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
            if (out)
                out->nestedValue(name, start, pos - start + 1, op);
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
    MapSink sink(&props);
    unsigned int pos = 0;
    ParsePlace place { error };
    const ParseStatus status = parseNameByPropertiesRecursive(trimmed, pos, place, 1, &sink);
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

bool propertyHash(const ObjectName &name, uint *hash)
{
    // A name given as text and not parsed yet is hashed as it is read; the same reading would give its map.
    const QString &text = name.m_name;
    if (!(name.m_current & ObjectName::PropertiesCurrent) && name.m_error.isEmpty()
        && isMultiPropertyName(text)) {
        HashSink sink;
        unsigned int pos = 0;
        ParsePlace place { nullptr };
        const ParseStatus status = parseNameByPropertiesRecursive(text, pos, place, 1, &sink);
        if (status == ParseStatus::Ok && pos + 1 == unsigned(text.size()) && !sink.repeatedKey()) {
            *hash = sink.sum();
            return true;
        }
    }
    // A copy is parsed, so that the name does not keep a map it would otherwise never need.
    const ObjectName copy(name);
    if (!copy.isMultiProperty())
        return false;
    uint sum = 0;
    const QMap<QString, PropertyValue> &props = copy.properties();
    for (auto it = props.cbegin(); it != props.cend(); ++it) {
        TextHash key;
        key.add(it.key().constData(), it.key().size());
        TextHash value;
        value.add(it->value().constData(), it->value().size());
        sum += entryHash(key.h, it->modifiers(), value.h);
    }
    *hash = sum;
    return true;
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
        if (!map || !map->containsSymbolicName(m_value))
            return false;
        return map->objectName(m_value) == map->objectName(candidate);
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
